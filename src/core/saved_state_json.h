#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"
#include "core/saved_state.h"

namespace brindle {

/// Why a text is no state document at all; the wording of the log line ("state.json is not a state:
/// …").
enum class NotAState { notJson, notState };
std::string_view reasonText(NotAState why);  ///< "is not JSON" or "is not a state"

struct ReadState {
  SavedState state;
  SavedStateReading reading;
};

/// Reads leniently: a damaged field or event costs only itself.
Result<ReadState, NotAState> readSavedState(std::string_view text);

/// Writes the document whole. Keeps the last document: the events at its beginning and end that are
/// the same objects as before are copied as the text they were, so that a save after one change
/// costs little more than the copy. One thread at a time.
class SavedStateWriter {
 public:
  /// Valid until the next call.
  const std::string& write(const SavedState& state);

 private:
  struct Written {
    EventRef event;   // held, so that no other event can come to lie at its address
    std::size_t end;  // in `document_`
  };
  void writeEvents(const EventList& events, std::string& out);

  std::string document_;
  std::size_t eventsBegin_ = 0;  // of the first event's text in `document_`
  std::vector<Written> written_;
};

/// One event as JSON, as `brindle history --json` shows it too.
std::string eventJson(const UnlockEvent& event);

}  // namespace brindle
