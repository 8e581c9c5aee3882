#include <algorithm>
#include <array>

#include "app/command_message.h"
#include "base/json_fields.h"
#include "base/json_writer.h"

namespace brindle {
namespace {

constexpr std::size_t mostBuffered =
    command_protocol::longestLine + command_protocol::mostSecrets * command_protocol::longestSecret;

constexpr EnumNames<Reply::Type, 4> replyTypeNames{{{
    {Reply::Type::proof, "proof"},
    {Reply::Type::tried, "tried"},
    {Reply::Type::ask, "ask"},
    {Reply::Type::done, "done"},
}}};

bool readVersion(const Json& json, std::int64_t& out) {
  return readJson(json, out) && out == command_protocol::version;
}

template <class T>
bool readOptional(const Json& json, std::optional<T>& out) {
  T value{};
  if (!readJson(json, value)) return false;
  out = std::move(value);
  return true;
}

struct SecretHeader {
  std::string name;
  std::int64_t size = -1;
};

bool readJson(const Json& json, SecretHeader& out) {
  JsonFields in(json);
  in.required("name", out.name).required("size", out.size);
  return in.readable() && out.size >= 0 &&
         out.size <= static_cast<std::int64_t>(command_protocol::longestSecret);
}

bool readSecrets(const Json& json, std::vector<SecretHeader>& out) {
  const auto* array = json.if_array();
  if (!array || array->size() > command_protocol::mostSecrets) return false;
  return std::ranges::all_of(*array,
                             [&](const Json& each) { return readJson(each, out.emplace_back()); });
}

template <class T>
void optionalField(JsonWriter& out, std::string_view key, const std::optional<T>& value) {
  if (value) out.field(key, *value);
}

}  // namespace

const SecretText* Request::secret(std::string_view name) const {
  const auto found = std::ranges::find(secrets, name, &Secret::name);
  return found == secrets.end() ? nullptr : &found->text;
}

std::string encodeRequest(const Request& request) {
  std::string text;
  text.reserve(mostBuffered);
  JsonWriter out(text);
  out.beginObject().field("v", command_protocol::version).field("command", request.command);
  if (request.json) out.field("json", true);
  if (!request.target.empty()) out.field("target", request.target);
  if (!request.value.empty()) out.field("value", request.value);
  if (request.agreed) out.field("agreed", true);
  if (request.replacePin) out.field("replacePin", true);
  optionalField(out, "alertDelay", request.alertDelay);
  optionalField(out, "startAtLogin", request.startAtLogin);
  optionalField(out, "question", request.question);
  out.key("secrets").beginArray();
  for (const auto& secret : request.secrets) {
    out.beginObject()
        .field("name", secret.name)
        .field("size", secret.text.view().size())
        .endObject();
  }
  out.endArray().endObject();
  text += '\n';
  for (const auto& secret : request.secrets) text += secret.text.view();
  return text;
}

std::string encodeReply(const Reply& reply) {
  std::string text;
  JsonWriter out(text);
  out.beginObject()
      .field("v", command_protocol::version)
      .field("type", replyTypeNames.of(reply.type))
      .field("text", reply.text)
      .field("exitCode", reply.exitCode)
      .field("answerOpen", reply.answerOpen)
      .field("question", reply.question)
      .endObject();
  return text += '\n';
}

std::optional<Reply> decodeReply(std::string_view line) {
  const auto json = parseJson(line);
  if (!json) return std::nullopt;
  Reply reply;
  std::int64_t version = 0, exitCode = 0;
  JsonFields in(*json);
  in.required("v", version, readVersion)
      .required(
          "type", reply.type,
          [](const Json& value, Reply::Type& out) { return readEnum(value, replyTypeNames, out); })
      .required("text", reply.text)
      .strict("exitCode", exitCode)
      .strict("answerOpen", reply.answerOpen)
      .strict("question", reply.question);
  if (!in.readable() || exitCode < 0 || exitCode > 255) return std::nullopt;
  reply.exitCode = static_cast<int>(exitCode);
  return reply;
}

RequestReader::RequestReader() { buffer_.reserve(mostBuffered); }

RequestReader::~RequestReader() { wipe(buffer_.data(), buffer_.size()); }

void RequestReader::feed(std::string_view bytes) {
  if (bytes.size() > mostBuffered - buffer_.size()) {
    bad_ = true;
    return;
  }
  buffer_.insert(buffer_.end(), bytes.begin(), bytes.end());
}

RequestReader::Next RequestReader::next(Request& out) {
  if (!bad_ && !header_) bad_ = !readLine();
  if (bad_) return Next::bad;
  if (!header_) return Next::more;
  std::size_t wanted = 0;
  for (const std::size_t size : header_->sizes) wanted += size;
  if (buffer_.size() < wanted) return Next::more;
  takeSecrets(out);
  return Next::request;
}

/// False when there is no line to be read in what came, however long one waits.
bool RequestReader::readLine() {
  const auto end = std::ranges::find(buffer_, '\n');
  const auto length = static_cast<std::size_t>(end - buffer_.begin());
  if (length > command_protocol::longestLine) return false;
  if (end == buffer_.end()) return true;
  header_ = readHeader({buffer_.data(), length});
  drop(length + 1);
  return header_.has_value();
}

std::optional<RequestReader::Header> RequestReader::readHeader(std::string_view line) {
  const auto json = parseJson(line);
  if (!json) return std::nullopt;
  Header header;
  Request& request = header.request;
  std::int64_t version = 0;
  std::vector<SecretHeader> secrets;
  JsonFields in(*json);
  in.required("v", version, readVersion)
      .required("command", request.command)
      .strict("json", request.json)
      .strict("target", request.target)
      .strict("value", request.value)
      .strict("agreed", request.agreed)
      .strict("replacePin", request.replacePin)
      .strict("alertDelay", request.alertDelay, readOptional<std::int64_t>)
      .strict("startAtLogin", request.startAtLogin, readOptional<bool>)
      .strict("question", request.question, readOptional<std::string>)
      .strict("secrets", secrets, readSecrets);
  if (!in.readable()) return std::nullopt;
  for (auto& secret : secrets) {
    request.secrets.push_back({std::move(secret.name), {}});
    header.sizes.push_back(static_cast<std::size_t>(secret.size));
  }
  return header;
}

void RequestReader::takeSecrets(Request& out) {
  std::size_t at = 0;
  for (std::size_t i = 0; i < header_->sizes.size(); ++i) {
    header_->request.secrets[i].text = SecretText({buffer_.data() + at, header_->sizes[i]});
    at += header_->sizes[i];
  }
  drop(at);
  out = std::move(header_->request);
  header_.reset();
}

void RequestReader::drop(std::size_t size) {
  std::copy(buffer_.begin() + static_cast<std::ptrdiff_t>(size), buffer_.end(), buffer_.begin());
  wipe(buffer_.data() + (buffer_.size() - size), size);
  buffer_.resize(buffer_.size() - size);
}

}  // namespace brindle
