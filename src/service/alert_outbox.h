#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/lifetime.h"
#include "platform/files.h"
#include "platform/worker_queue.h"
#include "service/multipart_body.h"

namespace brindle {

/// A body on disk that the service has not answered for.
struct AlertBody {
  Uuid id;            ///< of what it reports: a body sent twice is recognised by it
  std::string email;  ///< the account it was made under, the only one it is sent for
  std::string boundary;
  std::string file;        ///< its name in the outbox folder
  std::string from;        ///< where an earlier build had left it; empty for our own
  WallTime takenOver{};    ///< when it was copied from there
  bool withdrawn = false;  ///< nobody needs it any more, but it is on its way
  bool operator==(const AlertBody&) const = default;
};

/// "alert-<UUID>.multipart", and the identifier in such a name.
std::string alertBodyName(const Uuid& id);
std::optional<Uuid> alertBodyId(std::string_view fileName);

// The list of them, as the folder keeps it.
std::string writeAlertIndex(const std::map<Uuid, AlertBody>& bodies);
/// Unreadable entries are left out; nothing when it is no such list at all.
std::optional<std::map<Uuid, AlertBody>> readAlertIndex(std::string_view text);

/// The bodies that are owed, each a file, and the list that says whose they are. A body counts from
/// when both are on disk. All file work but the first read is the worker's. Main thread only.
class AlertOutbox {
 public:
  AlertOutbox(Files& files, WorkerQueue& worker, std::string folder)
      : files_(files), worker_(worker), folder_(std::move(folder)) {}

  /// Reads the list, blocking, and again with the next body if that failed: a list that cannot be
  /// read now must not be written over. Files that it does not name are removed: whoever wrote them
  /// did not get to say so and still owes them.
  bool load();
  const std::map<Uuid, AlertBody>& all() const { return bodies_; }
  const AlertBody* find(const Uuid& id) const;
  std::string path(const AlertBody& body) const { return joinPath(folder_, body.file); }
  const std::string& folder() const { return folder_; }

  using Compose = std::function<std::optional<MultipartBody>()>;
  /// Runs `compose` on the worker and writes what it gives; replaces the body with the same id.
  /// `done(false)` when anything could not be written; then all is as it was.
  void write(AlertBody body, Compose compose, std::function<void(bool)> done);
  /// The same for a file that is in the folder already.
  void adopt(const AlertBody& body, std::function<void(bool)> done);
  /// Files go after the list that no longer names them.
  void remove(const Uuid& id);
  void withdraw(const Uuid& id);

 private:
  void removeStrays();
  void enter(const AlertBody& body, std::function<void(bool)> done);
  void writeIndex(std::vector<std::string> removeThen, std::function<void(bool)> done);
  std::string indexPath() const { return joinPath(folder_, "index.json"); }

  Files& files_;
  WorkerQueue& worker_;
  std::string folder_;
  std::map<Uuid, AlertBody> bodies_;
  bool loaded_ = false;
  Lifetime lifetime_;
};

}  // namespace brindle
