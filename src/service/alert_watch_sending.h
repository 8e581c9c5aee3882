#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/lifetime.h"
#include "base/subscription.h"
#include "platform/background_transfer.h"
#include "platform/process_activity.h"
#include "service/alert_watch_outbox.h"
#include "service/service_client.h"

namespace brindle {

/// What a transfer is labelled with, so that a later run can tell what it carried.
struct AlertWatchLabel {
  Uuid id;
  std::int64_t seq = 0;
  std::string path;  ///< of the body file; empty when there is none

  std::string text() const;
  static std::optional<AlertWatchLabel> parse(std::string_view text);
};

/// Carries operations on both channels at once. The first copy that is answered speaks for both; a
/// copy without an answer counts only when it is the last one. Main thread only.
class AlertWatchSending {
 public:
  static constexpr std::string_view sessionIdentifier = "brindle.watch";
  /// A transfer of which the system says nothing for so long is taken for lost.
  static constexpr Duration longestSilence = std::chrono::minutes(3);

  struct Parts {
    Scheduler& scheduler;
    ServiceClient& client;
    BackgroundTransfer& background;  ///< of `sessionIdentifier`
    ProcessActivity& activity;
    AlertWatchOutbox& outbox;
    AlertWatchBodies& bodies;
    Log log;
  };
  struct Told {
    std::function<void(const AlertWatchOp&, AlertWatchChannel)> sent;
    /// One copy was answered.
    std::function<void(const AlertWatchOp&, AlertWatchChannel, const ServiceAnswer&)> answered;
    /// The operation was: no copy of it is on its way any more.
    std::function<void(const Uuid&, const ServiceAnswer&)> settled;
    /// What earlier runs left on its way is known.
    std::function<void(const std::vector<std::string>& labels)> ready;
  };
  explicit AlertWatchSending(const Parts& parts) : parts_(parts) {}

  void start(Told told);
  bool ready() const { return ready_; }

  /// Both copies, as far as they can be sent.
  void send(AlertWatchOutbox::Entry& entry);
  /// It waits for its account; said once per operation.
  void wait(const AlertWatchOp& op);
  /// Nothing of this run carries it.
  bool mayBegin(const Uuid& id) const;
  bool underWay(const Uuid& id) const { return flights_.contains(id); }
  std::vector<Uuid> underWay() const;
  std::size_t count() const { return flights_.size(); }
  /// Something would be lost if this program ended now. `systemEnds`: so would be, until the next
  /// start, what only the system goes on with.
  bool onlyHere(bool systemEnds) const;
  /// Without a word to anybody: the operation is not wanted any more.
  void drop(const Uuid& id);
  void giveUpSilent();

 private:
  struct Copy {
    bool out = false;
    Duration begun{};
    Subscription request;  ///< of the immediate copy
  };
  struct Flight {
    Copy immediate;
    Copy background;
    std::string label;
    bool ofThisRun = false;
    Copy& on(AlertWatchChannel channel) {
      return channel == AlertWatchChannel::immediate ? immediate : background;
    }
    bool out() const { return immediate.out || background.out; }
  };

  ServiceRequest requestFor(const AlertWatchOp& op) const;
  void sendImmediate(AlertWatchOp& op, Flight& flight, const ServiceRequest& request);
  void sendBackground(AlertWatchOp& op, Flight& flight, const ServiceRequest& request);
  void begun(AlertWatchOp& op, Copy& copy, AlertWatchChannel channel);
  void notSent(const AlertWatchOp& op, AlertWatchChannel channel, std::string_view why);
  void transferred(const TransferResult& result);
  void takeUp(const std::vector<std::string>& labels);
  void answered(const Uuid& id, AlertWatchChannel channel, const ServiceAnswer& answer);
  void logAnswer(std::string_view route, std::int64_t seq, std::string_view channel,
                 const ServiceAnswer& answer);
  void cancelRest(const AlertWatchOp& op, Flight& flight);
  void holdActivity();
  void beginActivity();
  void endActivity();

  Parts parts_;
  Told told_;
  bool ready_ = false;
  std::map<Uuid, Flight> flights_;
  Subscription activity_;
  Lifetime lifetime_;
};

}  // namespace brindle
