#include "core/saved_state_json.h"

#include <algorithm>
#include <array>
#include <boost/json/basic_parser_impl.hpp>
#include <functional>
#include <limits>
#include <utility>

#include "base/exact_number.h"
#include "base/json_fields.h"
#include "core/arm_source_json.h"
#include "core/event_json.h"

namespace brindle {
namespace {

enum class Field {
  armedAt,
  events,
  cameraOff,
  armedBy,
  armedAtMonotonicNs,
  armedAtBoot,
  updateInstall
};

constexpr EnumNames<Field, 7> fieldNames{{{
    {Field::armedAt, "armedAt"},
    {Field::events, "events"},
    {Field::cameraOff, "cameraOff"},
    {Field::armedBy, "armedBy"},
    {Field::armedAtMonotonicNs, "armedAtMonotonicNs"},
    {Field::armedAtBoot, "armedAtBoot"},
    {Field::updateInstall, "updateInstall"},
}}};

bool readJson(const JsonNode&, SavedState::SkippedValue&) { return true; }

/// Takes the document's top-level values one by one, as they are parsed.
class StateReader {
 public:
  /// A key may come twice; then its last value counts, as in every JSON library around.
  void startField(Field field) {
    seen_ = true;
    unreadable_[index(field)] = false;
    if (field == Field::events) {
      read_.state.events.clear();
      read_.reading.skippedEvents = 0;
    }
  }
  void takeEvent(const JsonNode& json) {
    if (EventRef event = readUnlockEvent(json)) {
      read_.state.events.push_back(std::move(event));
      return;
    }
    SavedState::SkippedValue skipped;
    if (readJson(json, skipped)) ++read_.reading.skippedEvents;
  }
  void takeField(Field field, const JsonNode& json, std::string_view text) {
    SavedState& state = read_.state;
    switch (field) {
      case Field::armedAt:
        return take(field, json, state.armedAt);
      case Field::events:
        // A list arrives by `takeEvent`, so this value is none.
        unreadable_[index(field)] = !isNull(json);
        return;
      case Field::cameraOff:
        return take(field, json, state.cameraOff);
      case Field::armedBy:
        return takeArmedBy(json);
      case Field::armedAtMonotonicNs:
        return take(field, json, state.armedAtMonotonicNs);
      case Field::armedAtBoot:
        return take(field, json, state.armedAtBoot);
      case Field::updateInstall:
        state.updateInstall.reset();
        unreadable_[index(field)] = !isNull(json) && text.empty();
        if (!isNull(json) && !text.empty()) state.updateInstall.emplace(text);
        return;
    }
  }
  Result<ReadState, NotAState> finish() {
    if (!seen_) return Failure<NotAState>(NotAState::notState);
    for (const auto& [field, name] : fieldNames.names) {
      if (unreadable_[index(field)]) read_.reading.unreadableFields.emplace_back(name);
    }
    return std::move(read_);
  }

 private:
  static std::size_t index(Field field) { return static_cast<std::size_t>(field); }

  template <class T>
  void take(Field field, const JsonNode& json, T& out) {
    using brindle::readJson;
    out = {};
    if (!isNull(json)) unreadable_[index(field)] = !readJson(json, out);
  }
  void takeArmedBy(const JsonNode& json) {
    read_.state.armedBy.reset();
    read_.reading.armedByProblem.clear();
    if (isNull(json)) return;
    auto source = readArmSource(json);
    unreadable_[index(Field::armedBy)] = !source;
    if (source) {
      read_.state.armedBy = *std::move(source);
    } else {
      read_.reading.armedByProblem = source.error();
    }
  }

  ReadState read_;
  std::array<bool, fieldNames.names.size()> unreadable_{};
  bool seen_ = false;
};

/// The text of the value that begins somewhere after `from` (white space and a colon may come
/// first) in a text known to be JSON.
std::string_view valueText(std::string_view text, std::size_t from) {
  const std::size_t begin = text.find_first_not_of(" \t\r\n:", from);
  std::size_t depth = 0;
  bool inText = false;
  std::size_t at = begin;
  for (; at < text.size(); ++at) {
    const char c = text[at];
    if (inText) {
      if (c == '\\') ++at;
      inText = c != '"';
    } else if (c == '"') {
      inText = true;
    } else if (c == '{' || c == '[') {
      ++depth;
    } else if (c == '}' || c == ']') {
      if (depth == 0) break;
      --depth;
    } else if (depth == 0 && (c == ',' || c == ' ' || c == '\t' || c == '\r' || c == '\n')) {
      break;
    }
  }
  return text.substr(begin, at - begin);
}

/// Parser events into values, of which only one is alive at a time: a field, or one event of the
/// list. A tree of the whole document would cost several times its size and most of the time.
class StateHandler {
  using Error = boost::system::error_code;
  using Text = boost::json::string_view;

 public:
  static constexpr std::size_t max_object_size = std::numeric_limits<std::uint32_t>::max();
  static constexpr std::size_t max_array_size = std::numeric_limits<std::uint32_t>::max();
  static constexpr std::size_t max_key_size = std::numeric_limits<std::size_t>::max();
  static constexpr std::size_t max_string_size = std::numeric_limits<std::size_t>::max();

  explicit StateHandler(std::string_view document) : document_(document) {}

  Result<ReadState, NotAState> finish() { return reader_.finish(); }

  bool on_document_begin(Error&) { return true; }
  bool on_document_end(Error&) { return true; }
  bool on_object_begin(Error&) {
    if (wanted()) nodes_.begin(JsonNode::Kind::object);
    ++depth_;
    return true;
  }
  bool on_object_end(std::size_t, Error&) { return closed(); }
  bool on_array_begin(Error&) {
    if (depth_ == 1 && field_ == Field::events) {
      inEvents_ = true;
    } else if (wanted()) {
      nodes_.begin(JsonNode::Kind::list);
    }
    ++depth_;
    return true;
  }
  bool on_array_end(std::size_t, Error&) {
    if (depth_ != 2 || !std::exchange(inEvents_, false)) return closed();
    --depth_;
    return true;
  }
  bool on_key_part(Text part, std::size_t, Error&) {
    nodes_.piece({part.data(), part.size()});
    return true;
  }
  bool on_key(Text part, std::size_t, Error&) {
    nodes_.key({part.data(), part.size()}, !inDocument(part));
    if (depth_ == 1) {
      startField(part);
    } else if (!wanted()) {
      nodes_.clear();
    }
    return true;
  }
  bool on_string_part(Text part, std::size_t, Error&) {
    if (wanted()) nodes_.piece({part.data(), part.size()});
    return true;
  }
  bool on_string(Text part, std::size_t, Error&) {
    if (!wanted()) return true;
    nodes_.text({part.data(), part.size()}, !inDocument(part));
    return completed();
  }
  bool on_number_part(Text, Error&) { return true; }
  bool on_int64(std::int64_t value, Text, Error&) {
    if (!wanted()) return true;
    nodes_.integer(value);
    return completed();
  }
  bool on_uint64(std::uint64_t value, Text, Error&) {
    if (!wanted()) return true;
    nodes_.unsignedInteger(value);
    return completed();
  }
  bool on_double(double value, Text text, Error&) {
    if (!wanted()) return true;
    nodes_.real(exactDouble({text.data(), text.size()}, value));
    return completed();
  }
  bool on_bool(bool value, Error&) {
    if (!wanted()) return true;
    nodes_.boolean(value);
    return completed();
  }
  bool on_null(Error&) {
    if (!wanted()) return true;
    nodes_.null();
    return completed();
  }
  bool on_comment_part(Text, Error&) { return true; }
  bool on_comment(Text, Error&) { return true; }

 private:
  /// Nothing is collected of fields that the state does not have, nor of a document that is no
  /// object.
  bool wanted() const { return field_.has_value(); }
  bool inDocument(Text part) const {
    const char* begin = document_.data();
    return !std::less<>{}(part.data(), begin) &&
           std::less<>{}(part.data(), begin + document_.size());
  }
  void startField(Text lastPart) {
    field_ = fieldNames.parse(nodes_.takeKey());
    fieldEnd_ = inDocument(lastPart) ? lastPart.data() + lastPart.size() : nullptr;
    if (field_) reader_.startField(*field_);
    nodes_.clear();
  }
  bool closed() {
    if (--depth_ == 0 || !wanted()) return true;
    nodes_.end();
    return completed();
  }
  bool completed() {
    if (depth_ != (inEvents_ ? 2u : 1u)) return true;
    if (inEvents_) {
      reader_.takeEvent(nodes_.value());
    } else if (const auto field = field_) {
      reader_.takeField(*field, nodes_.value(), fieldText());
    }
    nodes_.clear();
    return true;
  }
  /// The value as it stands in the document, for the one field that is kept that way. Empty when
  /// the field's name is written with escapes, which hides its place.
  std::string_view fieldText() const {
    if (field_ != Field::updateInstall || !fieldEnd_) return {};
    return valueText(document_, static_cast<std::size_t>(fieldEnd_ - document_.data()) + 1);
  }

  std::string_view document_;
  StateReader reader_;
  JsonNodes nodes_;
  std::optional<Field> field_;
  const char* fieldEnd_ = nullptr;  // behind the field's name, when that stands in the document
  std::size_t depth_ = 0;
  bool inEvents_ = false;
};

constexpr std::size_t deepestNesting = 64;

/// The text of an update record that somebody made in memory, unless it would spoil the document.
bool isJson(std::string_view text) { return parseJson(text).has_value(); }

}  // namespace

std::string_view reasonText(NotAState why) {
  switch (why) {
    case NotAState::notJson:
      return "is not JSON";
    case NotAState::notState:
      return "is not a state";
  }
  return {};
}

Result<ReadState, NotAState> readSavedState(std::string_view text) {
  boost::json::parse_options options;
  options.max_depth = deepestNesting;
  boost::json::basic_parser<StateHandler> parser(options, text);
  boost::system::error_code error;
  const std::size_t used = parser.write_some(false, text.data(), text.size(), error);
  if (error || used < text.size()) return Failure<NotAState>(NotAState::notJson);
  return parser.handler().finish();
}

std::string eventJson(const UnlockEvent& event) {
  std::string text;
  JsonWriter out(text);
  writeUnlockEvent(out, event);
  return text;
}

void SavedStateWriter::writeEvents(const EventList& events, std::string& out) {
  const auto sameEvent = [](const Written& old, const EventRef& now) { return old.event == now; };
  const std::size_t shorter = std::min(written_.size(), events.size());
  const auto headEnd = std::ranges::mismatch(written_, events, sameEvent).in1;
  const auto head = static_cast<std::size_t>(headEnd - written_.begin());
  std::size_t tail = 0;
  while (tail < shorter - head &&
         sameEvent(written_[written_.size() - 1 - tail], events[events.size() - 1 - tail])) {
    ++tail;
  }
  // Copied stretches lie at another place now, so that every end moves with them.
  const auto endOf = [this](std::size_t count) {
    return count == 0 ? eventsBegin_ : written_[count - 1].end;
  };
  std::vector<Written> now;
  now.reserve(events.size());
  const auto copy = [&](std::size_t from, std::size_t to) {
    if (from == to) return;
    // The comma before an event belongs to it, but for the first one of the list.
    std::size_t begin = endOf(from);
    if (now.empty() && from > 0) ++begin;
    if (!now.empty() && from == 0) out += ',';
    const std::size_t base = out.size();
    out.append(document_, begin, endOf(to) - begin);
    for (std::size_t i = from; i < to; ++i) {
      now.push_back({written_[i].event, written_[i].end - begin + base});
    }
  };
  const std::size_t begin = out.size();
  copy(0, head);
  for (std::size_t i = head; i < events.size() - tail; ++i) {
    if (i > 0) out += ',';
    JsonWriter one(out);
    writeUnlockEvent(one, *events[i]);
    now.push_back({events[i], out.size()});
  }
  copy(written_.size() - tail, written_.size());
  written_ = std::move(now);
  eventsBegin_ = begin;
}

const std::string& SavedStateWriter::write(const SavedState& state) {
  std::string text;
  text.reserve(
      std::max(document_.size() + document_.size() / 8, state.events.size() * 1024 + 1024));
  JsonWriter out(text);
  out.beginObject();
  if (state.armedAt) out.field("armedAt", *state.armedAt);
  out.key("events").beginArray();
  writeEvents(state.events, text);
  out.endArray();
  if (!state.cameraOff.empty()) {
    out.key("cameraOff").beginArray();
    for (const CameraOffAlert& each : state.cameraOff) writeCameraOffAlert(out, each);
    out.endArray();
  }
  if (state.armedBy) writeArmSource(out.key("armedBy"), *state.armedBy);
  if (state.armedAtMonotonicNs) out.field("armedAtMonotonicNs", *state.armedAtMonotonicNs);
  if (state.armedAtBoot) out.field("armedAtBoot", *state.armedAtBoot);
  if (state.updateInstall && isJson(*state.updateInstall))
    out.key("updateInstall").raw(*state.updateInstall);
  out.endObject();
  document_ = std::move(text);
  return document_;
}

}  // namespace brindle
