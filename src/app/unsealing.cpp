#include "app/unsealing.h"

#include <fmt/format.h>

#include <system_error>

#include "base/iso8601.h"
#include "base/utf8.h"
#include "platform/file_step.h"

namespace brindle {
namespace {

/// Never a path: made of identifiers and a number alone. Where nothing tells the place in the
/// event, an item is called after the photo.
std::string nameOf(const VaultOpener::Opened& item) {
  if (!item.meta) return item.header.photoId.lower();
  return fmt::format("{}-{}", item.header.eventId.lower(), item.meta->index);
}

std::string_view endingOf(const VaultOpener::Opened& item) {
  const std::string mime = item.meta ? item.meta->mime.value_or("image/jpeg") : "";
  if (mime == "image/jpeg") return ".jpg";
  return mime == "video/mp4" ? ".mp4" : ".bin";
}

Unsealed failed(std::string problem) { return {false, {}, std::move(problem)}; }

std::string headerLines(const SealedHeader& header) {
  std::string out = fmt::format("  event      {}\n  photo      {}\n  sealed for",
                                header.eventId.lower(), header.photoId.lower());
  for (const auto& each : header.recipients) out += " " + each.kid;
  return out + "\n";
}

std::string openedLines(const VaultOpener::Opened& item) {
  std::string out = "  this key   opens it\n";
  if (item.meta) {
    out += fmt::format("  taken      {}\n  kind       {}\n", isoSeconds(item.meta->takenAt),
                       printable(item.meta->kind));
  } else {
    out += "  metadata   of an unknown form\n";
  }
  return out + fmt::format("  size       {} bytes\n", item.photo.size());
}

}  // namespace

std::string_view explain(OpeningFailure failure) {
  switch (failure) {
    case OpeningFailure::notSealed:
      return "is no sealed item, or its beginning is damaged";
    case OpeningFailure::otherVersion:
      return "is sealed in a form that this version does not know";
    case OpeningFailure::notForThisKey:
      return "is not sealed for this key";
    case OpeningFailure::damaged:
      return "is damaged or was changed: it does not open";
  }
  return "";
}

std::string explain(const FileError& error) {
  return std::error_code(error.code, std::generic_category()).message();
}

std::string printable(std::string_view text) {
  std::string out = repairedUtf8(text);
  for (std::size_t i = 0; i < out.size(); ++i) {
    const auto byte = static_cast<unsigned char>(out[i]);
    if (byte < 0x20 || byte == 0x7f) out[i] = '?';
    // U+0080 to U+009F, which terminals take for controls too.
    const bool control = byte == 0xc2 && static_cast<unsigned char>(out[i + 1]) < 0xa0;
    if (control) out.replace(i, 2, "?");
  }
  return out;
}

/// Under a name that is no other file's, flushed, and only then under its own.
FileResult<void> Unsealing::writeNew(const std::string& path, ByteView content) {
  const std::string fresh = joinPath(folderOf(path), temporaryName(brindle::nameOf(path)));
  if (auto written = files_.writeWhole(fresh, content); !written) return written;
  auto named = files_.renameNew(fresh, path);
  if (!named) {
    (void)files_.remove(fresh);
    return named;
  }
  return files_.flushFolder(folderOf(path));
}

Unsealed Unsealing::toFiles(const std::string& blobPath, const std::string& folder) {
  auto blob = files_.read(blobPath);
  if (!blob) return failed(explain(blob.error()));
  const auto item = opener_->open(*blob);
  if (!item) return failed(std::string(explain(item.error())));
  const std::string stem = joinPath(folder, nameOf(*item));
  const std::string photo = stem + std::string(endingOf(*item)), meta = stem + ".json";
  if (auto written = writeNew(meta, viewOf(item->metaJSON)); !written) {
    return failed(meta + ": " + explain(written.error()));
  }
  if (auto written = writeNew(photo, item->photo); !written) {
    (void)files_.remove(meta);
    return failed(photo + ": " + explain(written.error()));
  }
  return {true, photo + "\n" + meta + "\n", {}};
}

Unsealed Unsealing::describe(const std::string& blobPath) {
  auto blob = files_.read(blobPath);
  if (!blob) return failed(explain(blob.error()));
  const auto header = readSealedHeader(*blob);
  if (!header) return failed(std::string(explain(header.error())));
  Unsealed told{true, headerLines(*header), {}};
  if (!opener_) return told;
  const auto item = opener_->open(*blob);
  told.good = item.has_value();
  told.told += item ? openedLines(*item) : fmt::format("  this key   {}\n", explain(item.error()));
  return told;
}

}  // namespace brindle
