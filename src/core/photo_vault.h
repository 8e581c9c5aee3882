#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/log.h"
#include "base/result.h"
#include "core/saved_state_json.h"
#include "platform/files.h"

namespace brindle {

/// Keeper of the history on disk: the document "state.json", its kept-aside copies, and the folder
/// "photos". All file work runs under one lock, so any thread may call; calls block, and the store
/// makes them on its worker except for loading.
class PhotoVault {
 public:
  /// How loading went.
  enum class StateLoad { read, partial, unreadable, missing, gone };
  /// How a save went. After `failed` the document on disk is as it was.
  enum class Save { saved, failed };

  struct Loaded {
    StateLoad how = StateLoad::gone;
    SavedState state;
    SavedStateReading reading;
  };
  struct DeletedAll {
    std::size_t files = 0;   ///< photo files that no event named
    std::size_t copies = 0;  ///< kept-aside copies of the document
    bool complete = true;    ///< false when something could not be removed
  };

  /// `root` is the application's folder "Brindle"; `localTime` gives the wall clock as local
  /// calendar time "yyyyMMdd-HHmmss" for the names of kept-aside copies.
  PhotoVault(Files& fileManager, std::string root, std::function<std::string()> localStamp,
             Log log);

  /// Reads the document, once, at start. Makes the folders when they are missing.
  Loaded load();
  StateLoad loaded() const;

  Save save(const SavedState& state);

  /// Whole and atomic; false when it could not be written. The names come from `photoFileName`.
  bool savePhoto(const FileName& name, ByteView bytes);
  /// Nothing when the name leaves the folder or the file cannot be read.
  std::optional<Bytes> readPhoto(const FileName& name);
  /// Removes the files that may be removed: plain names that are not handed out. Returns how many
  /// went. Those handed out go when they are given back.
  std::size_t removePhotos(const std::vector<FileName>& names);
  /// Names in the photo folder.
  std::vector<FileName> photoNames();

  /// Names handed to other services (an upload) are not deleted before they are given back, as
  /// often as they were handed out. Never waits for a save.
  void handOut(const FileName& name);
  void giveBack(const FileName& name);

  /// Removes every photo file that no event names and every kept-aside copy of the document.
  /// Belongs after the save that drops the events: the first save may itself make a copy.
  DeletedAll deleteAll(const EventList& events);

  const std::string& root() const { return root_; }
  std::string photoPath(const FileName& name) const { return joinPath(photos_, name); }

 private:
  /// What the next save has to do before it may overwrite the document.
  enum class WriteState { plain, keepPartialFirst, keepUnreadableFirst };
  /// The document that did not read whole, kept aside under `name`.
  struct Held {
    std::string name;
    bool linked =
        true;  ///< by a second name, so that "state.json" is as it was until the next write
  };
  struct HandedOut {
    int times = 0;
    bool removeWhenBack = false;
  };

  std::string statePath() const { return joinPath(root_, "state.json"); }
  Loaded loadMissing();
  Loaded loadUnopened(const FileError& error);
  Loaded setAsideUnreadable(NotAState why);
  Loaded loadRead(ReadState read);
  Loaded nothing(StateLoad how);
  /// The names of the kept-aside copies.
  FileResult<std::vector<std::string>> copies();

  template <class Give>
  FileResult<std::string> giveNewName(std::string_view kind, Give give);
  bool keepAside();
  FileResult<Held> giveAsideName(std::string_view kind);
  bool takeBack(const Held& held);
  bool stillInPlace(const Held& held);
  bool writeInto(const std::string& folder, const std::string& path, ByteView bytes);
  void writeFailed();

  bool removeUnlessHandedOut(const FileName& name);

  Files& fileManager_;
  const std::string root_;
  const std::string photos_;
  const std::function<std::string()> now_;
  Log log_;

  std::mutex lock_;  // all file work but the removal of a single photo
  std::atomic<StateLoad> loaded_ = StateLoad::gone;
  /// Before anything was loaded, whatever lies there is worth keeping.
  WriteState writeState_ = WriteState::keepPartialFirst;
  std::optional<Held> held_;  // until a write has replaced the document it was
  SavedStateWriter writer_;

  std::mutex handedLock_;  // never held while a document is written
  std::map<FileName, HandedOut> handedOut_;
};

}  // namespace brindle
