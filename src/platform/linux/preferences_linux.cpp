#include "platform/linux/preferences_linux.h"

#include <fmt/format.h>

#include <algorithm>

#include "base/json_fields.h"
#include "base/json_writer.h"

namespace brindle {
namespace {

// Each damaged file is kept; a hundred of them is a machine that needs a look, not a hundred and
// first.
constexpr int mostSetAside = 100;
constexpr std::size_t averageEntry = 64;  // as room for its key, or for a number

std::optional<PreferenceValue> valueOf(const Json& json) {
  bool truth = false;
  std::int64_t whole = 0;
  double real = 0;
  std::string text;
  if (readJson(json, truth)) return truth;
  if (json.is_double() && readJson(json, real)) return real;
  if (readJson(json, whole)) return whole;
  if (readJson(json, text)) return text;
  return std::nullopt;
}

}  // namespace

LinuxPreferences::LinuxPreferences(Files& files, std::string folder, Log log)
    : files_(files), folder_(std::move(folder)), path_(joinPath(folder_, "preferences.json")) {
  load(log);
}

void LinuxPreferences::load(Log log) {
  const auto document = files_.read(path_);
  if (!document) {
    if (document.error().kind == FileError::Kind::notFound) return;
    storable_ = false;
    log.notice("preferences could not be read (%{public}ld): defaults hold, nothing can be stored",
               document.error().code);
    problem_ = fmt::format("{} cannot be opened (error {})", path_, document.error().code);
    return;
  }
  if (parse(*document, values_)) return;
  values_.clear();
  storable_ = setAside();
  log.notice("preferences are not JSON: defaults hold, the file was %{public}s",
             storable_ ? "set aside" : "left in place, nothing can be stored");
  problem_ = fmt::format("{} could not be read and was {}", path_,
                         storable_ ? "set aside" : "left in place; nothing can be stored");
}

bool LinuxPreferences::setAside() {
  for (int i = 1; i <= mostSetAside; ++i) {
    const auto moved = files_.renameNew(
        path_, joinPath(folder_, fmt::format("preferences-unreadable-{}.json", i)));
    if (moved) return files_.flushFolder(folder_).has_value();
    if (moved.error().kind != FileError::Kind::exists) return false;
  }
  return false;
}

bool LinuxPreferences::parse(ByteView document, Values& values) {
  const auto json = parseJson(textOf(document));
  if (!json || !json->is_object()) return false;
  for (const auto& [key, each] : json->get_object()) {
    // A value of a kind that preferences do not have is none of ours; the rest stays usable.
    if (auto value = valueOf(each)) values.insert_or_assign(std::string(key), std::move(*value));
  }
  return true;
}

std::string LinuxPreferences::encode(const Values& values) {
  std::string document;
  std::size_t texts = 0;
  for (const auto& [key, value] : values) {
    if (const auto* text = std::get_if<std::string>(&value)) texts += text->size();
  }
  document.reserve(texts + texts / 4 + values.size() * averageEntry);
  JsonWriter out(document);
  out.beginObject();
  for (const auto& [key, value] : values) {
    out.key(key);
    std::visit([&out](const auto& each) { out.value(each); }, value);
  }
  out.endObject();
  return document;
}

std::optional<PreferenceValue> LinuxPreferences::get(std::string_view key) const {
  const auto found = values_.find(key);
  return found == values_.end() ? std::nullopt : std::optional(found->second);
}

bool LinuxPreferences::change(
    const std::vector<std::pair<std::string, std::optional<PreferenceValue>>>& changes) {
  if (!storable_) return false;
  if (std::ranges::all_of(changes, [this](const auto& each) { return holds(each); })) return true;
  // Only what changes is copied: among the rest may be an outbox of a thousand operations.
  std::vector<std::optional<PreferenceValue>> before;
  for (const auto& [key, value] : changes) before.push_back(put(key, value));
  if (files_.makeFolder(folder_) && files_.writeWhole(path_, viewOf(encode(values_)))) return true;
  for (std::size_t i = changes.size(); i-- > 0;) put(changes[i].first, std::move(before[i]));
  return false;
}

/// Gives what was there.
std::optional<PreferenceValue> LinuxPreferences::put(const std::string& key,
                                                     std::optional<PreferenceValue> value) {
  auto old = values_.extract(key);
  if (value) values_.emplace(key, std::move(*value));
  return old ? std::optional(std::move(old.mapped())) : std::nullopt;
}

bool LinuxPreferences::holds(
    const std::pair<std::string, std::optional<PreferenceValue>>& change) const {
  const auto found = values_.find(change.first);
  const bool isThere = found != values_.end();
  return isThere == change.second.has_value() && (!isThere || found->second == *change.second);
}

std::vector<std::string> LinuxPreferences::keys(std::string_view prefix) const {
  std::vector<std::string> found;
  for (auto at = values_.lower_bound(prefix); at != values_.end(); ++at) {
    if (!at->first.starts_with(prefix)) break;
    found.push_back(at->first);
  }
  return found;
}

ServiceReport LinuxPreferences::report() const {
  return {"preferences", "preferences.json", storable_, problem_.empty() ? path_ : problem_};
}

}  // namespace brindle
