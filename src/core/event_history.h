#pragma once

#include <functional>
#include <optional>
#include <unordered_map>

#include "core/unlock_event.h"

namespace brindle {

/// The events in memory, in the order in which they happened, found by identity. Main thread only.
class EventHistory {
 public:
  /// `changed` is told of every change, not of loading.
  explicit EventHistory(std::function<void()> changed) : changed_(std::move(changed)) {}

  void load(EventList events);
  const EventList& events() const { return events_; }
  EventRef find(const Uuid& id) const;  ///< null when there is none
  EventRef last() const { return events_.empty() ? nullptr : events_.back(); }
  EventList unresolved() const;

  void add(UnlockEvent event);
  /// Replaces the event by a changed copy; false when it is not there.
  bool change(const Uuid& id, const std::function<void(UnlockEvent&)>& edit);
  bool remove(const Uuid& id);
  void clear();

 private:
  void indexFrom(std::size_t first);

  std::function<void()> changed_;
  EventList events_;
  std::unordered_map<Uuid, std::size_t> places_;
};

/// Takes all photos and clips out of the events and returns the names of those that may go. A file
/// whose copy is on its way to the vault stays, for its item, until the copy has got there. An
/// event that has copies keeps its items, without names: they are counted on at the vault.
std::vector<FileName> dropFiles(EventHistory& history);

/// At a start and at an end, no photo is on its way any more: an event that waits for one in vain
/// was closed too early. Returns how many events it changed.
std::size_t closeUnfinished(EventHistory& history);

}  // namespace brindle
