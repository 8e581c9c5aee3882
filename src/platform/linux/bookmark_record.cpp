#include "platform/linux/bookmark_record.h"

#include <algorithm>
#include <climits>
#include <concepts>

namespace brindle {
namespace {

constexpr std::string_view mark = "BRBM";
constexpr std::uint8_t version = 1;
constexpr std::size_t longestHandle = 128;  // MAX_HANDLE_SZ

template <std::integral T>
void put(Bytes& out, T value) {
  const auto bits = static_cast<std::make_unsigned_t<T>>(value);
  for (unsigned i = 0; i < sizeof(T); ++i) {
    out.push_back(static_cast<std::uint8_t>(std::uint64_t{bits} >> (8 * i)));
  }
}

/// Takes values off the front; once something was missing nothing more is given.
class Reader {
 public:
  explicit Reader(ByteView bytes) : left_(bytes) {}

  ByteView take(std::size_t size) {
    if (size > left_.size()) {
      whole_ = false;
      left_ = {};
      return {};
    }
    const ByteView taken = left_.first(size);
    left_ = left_.subspan(size);
    return taken;
  }
  template <std::integral T>
  T number() {
    const ByteView bytes = take(sizeof(T));
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) bits |= std::uint64_t{bytes[i]} << (8 * i);
    return static_cast<T>(bits);
  }
  bool readWhole() const { return whole_ && left_.empty(); }

 private:
  ByteView left_;
  bool whole_ = true;
};

bool isPath(std::string_view text) {
  return text.starts_with('/') && text.size() < PATH_MAX && !text.contains('\0');
}

}  // namespace

Bytes bytesOf(const BookmarkRecord& record) {
  const FileIdentity& identity = record.identity;
  Bytes out = bytesOf(mark);
  put(out, version);
  put(out, static_cast<std::uint8_t>(identity.kind));
  put(out, identity.device);
  put(out, identity.inode);
  put(out, identity.fileSystem);
  put(out, identity.handleType);
  put(out, static_cast<std::uint8_t>(identity.handle.size()));
  out.insert(out.end(), identity.handle.begin(), identity.handle.end());
  put(out, static_cast<std::uint16_t>(record.path.size()));
  out.insert(out.end(), record.path.begin(), record.path.end());
  return out;
}

std::optional<BookmarkRecord> readBookmarkRecord(ByteView bytes) {
  Reader in(bytes);
  BookmarkRecord record;
  FileIdentity& identity = record.identity;
  if (textOf(in.take(mark.size())) != mark || in.number<std::uint8_t>() != version) return {};
  identity.kind = static_cast<FileIdentity::Kind>(in.number<std::uint8_t>());
  identity.device = in.number<std::uint64_t>();
  identity.inode = in.number<std::uint64_t>();
  identity.fileSystem = in.number<std::uint64_t>();
  identity.handleType = in.number<std::int32_t>();
  const ByteView handle = in.take(in.number<std::uint8_t>());
  identity.handle.assign(handle.begin(), handle.end());
  record.path = textOf(in.take(in.number<std::uint16_t>()));
  const bool known =
      identity.kind == FileIdentity::Kind::file || identity.kind == FileIdentity::Kind::folder;
  if (!in.readWhole() || !known || handle.size() > longestHandle || !isPath(record.path)) return {};
  return record;
}

}  // namespace brindle
