#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "base/lifetime.h"
#include "base/log.h"
#include "base/subscription.h"
#include "owner/keychain_items.h"
#include "platform/preferences.h"
#include "platform/scheduler.h"
#include "platform/worker_queue.h"
#include "service/session.h"

namespace brindle {

/// The session, and its item in the keychain. Main thread only; the keychain is asked on the worker
/// queue, which must be drained before `items` goes.
class SessionKeeper final : public SessionSource {
 public:
  struct Services {
    KeychainItems& items;
    WorkerQueue& worker;
    Preferences& preferences;
    Scheduler& scheduler;
    Log log;
  };
  using Changes = std::vector<std::pair<std::string, std::optional<PreferenceValue>>>;

  explicit SessionKeeper(Services services) : services_(services) {}
  ~SessionKeeper() override;

  const std::optional<Session>& session() const override { return session_; }
  std::string accountEmail() const override;
  /// Told inline; also when the item has been read for the first time.
  [[nodiscard]] Subscription onSessionChange(std::function<void()> changed) override {
    return changed_.add(std::move(changed));
  }

  /// Reads the item, again and again while the keychain is locked or away.
  void load();
  /// False until the keychain has answered.
  bool loaded() const { return loaded_; }

  /// `done(false)`: it could not be stored, and the session is what it was.
  void save(Session session, std::function<void(bool)> done);
  /// Signs out, with `also` in the same change of the preferences: both or neither. True at once,
  /// and for good, whatever the keychain says later; false when nothing changed.
  [[nodiscard]] bool clear(Changes also = {});

 private:
  struct Found;
  void found(const Found& found);
  void removeItem();
  void publish(std::optional<Session> session);
  bool remember(const std::string& email);

  Services services_;
  std::optional<Session> session_;
  bool loaded_ = false;
  int problem_ = 0;  ///< why the item could not be read, as the log has it
  int changes_ = 0;  ///< of the session: what was read before the latest one is out of date
  Timer again_;
  Duration wait_{};
  Listeners<> changed_;
  Lifetime lifetime_;
};

}  // namespace brindle
