#include "service/alert_watch.h"

#include <algorithm>

namespace brindle {
namespace {

constexpr std::string_view backstop = "watch.backstop";
constexpr std::string_view photoToo = "watch.photo";

constexpr auto extendAgainAfter = std::chrono::seconds(10);

using Route = AlertWatchRoute;
using How = AlertWatchTurns::How;

std::string_view wordOf(bool on) { return on ? "on" : "off"; }

}  // namespace

AlertWatch::AlertWatch(const Parts& parts, Options options)
    : parts_(parts),
      options_(std::move(options)),
      deviceId_(deviceId(parts.preferences, parts.random)),
      bodies_(parts.files, options_.outboxFolder, parts.log),
      outbox_(parts.preferences, parts.scheduler, bodies_, parts.log),
      events_(outbox_),
      move_(parts.files, outbox_, bodies_, options_.temporaryFolder, parts.log),
      sending_({parts.scheduler, parts.client, parts.background, parts.activity, outbox_, bodies_,
                parts.log}),
      turns_({parts.scheduler, outbox_, sending_, parts.sessions, parts.log}),
      answering_(outbox_, turns_,
                 [this](const AlertWatchOp& op, AlertWatchResult result,
                        const ServiceAnswer& answer) { ended(op, result, answer); }),
      checkIns_({parts.scheduler, outbox_, bodies_, parts.random, parts.log,
                 [this](const Uuid& id) { return sending_.underWay(id); }}),
      heartbeat_(parts.scheduler, parts.random, options_.heartbeatInterval, options_.jitter,
                 [this] { beat(); }),
      sleepHolds_(parts.scheduler, parts.log) {}

const Session* AlertWatch::session() const {
  const auto& session = parts_.sessions.session();
  return session ? &*session : nullptr;
}

std::string_view AlertWatch::signedInWord() const { return session() ? "signed in" : "signed out"; }

WatchedMachine AlertWatch::machine() const {
  return {deviceId_, parts_.machine.name(), parts_.machine.timeZone()};
}

void AlertWatch::start(const Start& start) {
  started_ = true;
  on_ = on_ || start.on;
  token_ = session() ? session()->token : std::string();
  move_.copy();
  matchBodies(outbox_, bodies_, parts_.log);
  parts_.log.notice(
      "start: %{public}s, backstop %{public}s, enabled %{bool,public}d, %{public}ld queued",
      signedInWord(), wordOf(outbox_.flag(backstop, true)), wantsAlerts(), outbox_.ops().size());
  noteReset(outbox_, checkIns_, start.asLoginItem, on_);
  sending_.start({[this](const AlertWatchOp& op, AlertWatchChannel channel) {
                    if (onSend) onSend(op, channel);
                  },
                  [this](const AlertWatchOp& op, AlertWatchChannel channel,
                         const ServiceAnswer& answer) { answered(op, channel, answer); },
                  [this](const Uuid& id, const ServiceAnswer& answer) {
                    sleepHolds_.answered(id);
                    answering_.settled(id, answer);
                  },
                  [this](const std::vector<std::string>& labels) {
                    move_.clear(labels);
                    removeAbandoned();
                    turns_.send(How::regular);
                  }});
  sessionChanges_ = parts_.sessions.onSessionChange([this] { sessionChanged(); });
  if (options_.watchesSystemPower) {
    power_ = parts_.power.listen(
        {[this](SleepPermission permission) { willSleep(std::move(permission)); },
         [this] { woke(); }});
  }
  tellAwake();
}

void AlertWatch::tellAwake() {
  if (outbox_.flag(watch_marks::asleep)) outbox_.mark(watch_marks::asleep, std::nullopt);
  tellState();
}

void AlertWatch::tellState() {
  if (on_ || outbox_.flag(watch_marks::toldOn)) queueCheckIn();
  outbox_.saveSoon();
  keepBeating();
}

void AlertWatch::queueCheckIn(std::optional<std::string> reason) {
  const std::string account = parts_.sessions.accountEmail();
  if (account.empty()) return;
  const CheckInState state{on_, on_ && outbox_.flag(watch_marks::asleep), std::move(reason)};
  outbox_.mark(watch_marks::toldOn, on_ ? std::optional<PreferenceValue>(true) : std::nullopt);
  auto* entry = checkIns_.queue(state, machine(), account);
  if (!entry) return;
  heartbeat_.end();  // the next pause begins here
  sendNew(*entry);
}

void AlertWatch::guardOn(const ArmSource&) {
  on_ = true;
  if (started_) tellAwake();
}

void AlertWatch::guardOff() {
  on_ = false;
  outbox_.mark(watch_marks::asleep, std::nullopt);
  queueCheckIn("turned-off");
  keepBeating();
}

void AlertWatch::queue(AlertWatchOp op) {
  bodies_.keep(op);
  auto& entry = outbox_.append(std::move(op));
  outbox_.save();
  sendNew(entry);
}

void AlertWatch::sendNew(AlertWatchOutbox::Entry& entry) {
  if (!started_) return;
  turns_.sendNew(entry);
  keepBeating();
}

AlertWatchOp AlertWatch::newOp(Route route, const Uuid& event, const std::string& account) {
  AlertWatchOp op;
  op.id = parts_.random.newUuid();
  op.route = route;
  op.eventID = event;
  op.createdAt = parts_.scheduler.wallTime();
  op.account = account;
  if (route != Route::pendingPhoto) op.body = eventBody(event);
  return op;
}

void AlertWatch::pending(const WatchedUnlock& unlock) {
  // Owed as soon as it is known whose machine this is, whether or not the keychain has answered.
  const std::string account = parts_.sessions.accountEmail();
  if (account.empty()) return;
  events_.begin(unlock.eventID, {unlock.at, outbox_.flag(photoToo, true), false, false, account});
  AlertWatchOp op = newOp(Route::pending, unlock.eventID, account);
  op.body = pendingBody(machine(), unlock, wantsAlerts());
  queue(std::move(op));
}

void AlertWatch::firstPhoto(const Uuid& event, const FileName& name) {
  const Watched* watched = events_.find(event);
  const bool wanted = watched && watched->photo && !watched->photoQueued && !watched->resolved;
  if (!wanted || !isPlainFileName(name)) return;
  struct Written {
    Bytes photo;
    bool ok = false;
  };
  AlertWatchOp op = newOp(Route::pendingPhoto, event, watched->account);
  const auto written = std::make_shared<Written>();
  ++photosUnderWay_;
  parts_.worker.run(
      [&files = parts_.files, from = joinPath(options_.photosFolder, name),
       to = options_.outboxFolder, file = AlertWatchBodies::fileName(op), written] {
        if (auto photo = files.read(from)) written->photo = std::move(*photo);
        if (written->photo.empty()) return;
        written->ok = writeBodyFile(files, to, file, written->photo);
      },
      lifetime_.guard([this, op, written, begun = parts_.scheduler.awakeTime()] {
        --photosUnderWay_;
        photoWritten(op, written->ok, written->photo, begun);
      }));
}

void AlertWatch::photoWritten(AlertWatchOp op, bool written, Bytes& photo, Duration begun) {
  const std::string file = AlertWatchBodies::fileName(op);
  const Uuid event = op.eventID.value_or(Uuid());
  const Watched* watched = events_.find(event);
  if (!written) parts_.log.notice("outbox: first photo not written");
  if (!watched || watched->resolved || watched->photoQueued || photo.empty()) {
    return bodies_.remove(file);
  }
  if (written) {
    op.file = file;
  } else {
    op.body = std::move(photo);
  }
  events_.change(event, [](Watched& changed) { changed.photoQueued = true; });
  auto& entry = outbox_.append(std::move(op));
  outbox_.save();
  parts_.log.notice("pending-photo queued in %{public}ld ms",
                    millisecondsOf(parts_.scheduler.awakeTime() - begun));
  sendNew(entry);
}

void AlertWatch::extend(const Uuid& event) {
  const Watched* watched = events_.find(event);
  if (!watched || watched->resolved) return;
  for (const auto& each : outbox_.ops()) {
    if (each.op.eventID == event && each.op.route == Route::extend) return;  // it says the same
  }
  repeats_.erase(event);
  AlertWatchOp op = newOp(Route::extend, event, watched->account);
  op.repeatAfter = extendAgainAfter;
  queue(std::move(op));
}

void AlertWatch::repeatExtend(const Uuid& event, Duration pause) {
  if (!started_ || !options_.proving || !options_.proving(event)) return;
  repeats_[event] = parts_.scheduler.after(pause, [this, event] {
    if (options_.proving(event)) extend(event);
  });
}

void AlertWatch::cancel(const Uuid& event) {
  const Watched* watched = events_.find(event);
  if (!watched || watched->resolved) return;
  repeats_.erase(event);
  dropFollowers(event);
  AlertWatchOp op = newOp(Route::cancel, event, watched->account);
  events_.change(event, [](Watched& changed) { changed.resolved = true; });
  queue(std::move(op));
}

/// Once the owner has answered, nobody needs a photo or more time.
void AlertWatch::dropFollowers(const Uuid& event) {
  std::vector<Uuid> unneeded;
  for (auto& each : outbox_.ops()) {
    if (each.op.eventID != event) continue;
    if (each.op.route == Route::pending) {
      each.op.cancelAsked = true;
      outbox_.changed(each);
    } else {
      unneeded.push_back(each.op.id);
    }
  }
  for (const Uuid& id : unneeded) {
    drop(id);
    outbox_.remove(id);
  }
}

void AlertWatch::drop(const Uuid& id) {
  sending_.drop(id);
  sleepHolds_.answered(id);
}

void AlertWatch::forgetAccount(const std::string& email) {
  events_.forgetAccount(email);
  for (const Uuid& id : outbox_.removeAllOf(email)) drop(id);
  keepBeating();
}

/// What was overtaken while on its way is over when it is not on its way any more.
void AlertWatch::removeAbandoned() {
  std::vector<Uuid> over;
  for (const auto& each : outbox_.ops()) {
    if (each.op.abandoned && !sending_.underWay(each.op.id)) over.push_back(each.op.id);
  }
  for (const Uuid& id : over) outbox_.remove(id);
  outbox_.saveSoon();
}

void AlertWatch::answered(const AlertWatchOp& op, AlertWatchChannel channel,
                          const ServiceAnswer& answer) {
  if (isCheckIn(op.route) && answer.status != 0) {
    lastCheckIn_ = {parts_.scheduler.wallTime(), answer.answer, answer.status};
  }
  if (onAnswer) onAnswer(op, channel, answer);
}

void AlertWatch::ended(const AlertWatchOp& op, AlertWatchResult result,
                       const ServiceAnswer& answer) {
  const Uuid event = op.eventID.value_or(Uuid());
  switch (op.route) {
    case Route::pending:
      if (onResult) onResult(event, result);
      break;
    case Route::pendingPhoto:
      break;
    case Route::extend:
      if (op.repeatAfter) repeatExtend(event, *op.repeatAfter);
      break;
    case Route::cancel:
      events_.forget(event);
      break;
    case Route::release:
    case Route::beat:
      if (result != AlertWatchResult::done) break;
      if (const auto said = backstopIn(textOf(answer.body))) switchBackstop(*said, "the service");
      break;
  }
  keepBeating();
}

void AlertWatch::updating() {
  parts_.log.notice("updating: told on %{bool,public}d, declared asleep %{bool,public}d",
                    outbox_.flag(watch_marks::toldOn), outbox_.flag(watch_marks::asleep));
  outbox_.mark(watch_marks::updating, true);
  outbox_.save();
}

void AlertWatch::quitting(bool systemEnds) {
  systemEnds_ = systemEnds;
  if (on_ && outbox_.flag(watch_marks::toldOn)) {
    if (systemEnds) {
      outbox_.mark(watch_marks::shutDownMark, true);
      declareAsleep();  // the silence that follows is the system's own
    } else if (!outbox_.flag(watch_marks::updating)) {
      checkIns_.reset("quit");
    }
  }
  heartbeat_.end();
  outbox_.save();
}

bool AlertWatch::underWay() const { return photosUnderWay_ > 0 || sending_.onlyHere(systemEnds_); }

void AlertWatch::sendOwed() {
  if (!started_) return;
  sending_.giveUpSilent();
  turns_.send(How::regular);
  keepBeating();
}

void AlertWatch::sessionChanged() {
  const std::string now = session() ? session()->token : std::string();
  if (now != token_) {
    token_ = now;
    for (const Uuid& id : sending_.underWay()) drop(id);
    removeAbandoned();
  }
  tellState();
  sendOwed();
}

void AlertWatch::declareAsleep() {
  if (!on_ || parts_.sessions.accountEmail().empty()) return;
  outbox_.mark(watch_marks::asleep, true);
  queueCheckIn();
}

void AlertWatch::willSleep(SleepPermission permission) {
  parts_.log.notice("will sleep: %{public}s, on %{bool,public}d, declared already %{bool,public}d",
                    signedInWord(), on_, outbox_.flag(watch_marks::asleep));
  declareAsleep();
  turns_.send(How::sleep);
  sleepHolds_.hold(sending_.underWay(), std::move(permission),
                   std::min(options_.sleepHoldSeconds, parts_.power.longestHold()));
}

void AlertWatch::woke() {
  parts_.log.notice("woke: on %{bool,public}d, declared asleep %{bool,public}d", on_,
                    outbox_.flag(watch_marks::asleep));
  if (outbox_.flag(watch_marks::asleep)) tellAwake();
  sendOwed();
}

void AlertWatch::beat() {
  // A program that goes on was not replaced after all.
  if (outbox_.flag(watch_marks::updating)) outbox_.mark(watch_marks::updating, std::nullopt);
  if (on_) queueCheckIn();
  sendOwed();
}

/// One pause at a time, and none for a guard that is off and owes nothing.
void AlertWatch::keepBeating() {
  const auto sendable = [this](const auto& each) { return turns_.accountIsHere(each.op); };
  const bool needed =
      started_ && session() && (on_ || std::ranges::any_of(outbox_.ops(), sendable));
  if (!needed) return heartbeat_.end();
  if (!heartbeat_.running()) heartbeat_.begin();
}

void AlertWatch::switchBackstop(bool on, std::string_view by) {
  if (outbox_.flag(backstop, true) == on) return;
  outbox_.mark(backstop, on);
  outbox_.saveSoon();
  parts_.log.notice("backstop %{public}s, switched by %{public}s", wordOf(on), by);
}

bool AlertWatch::wantsAlerts() const { return outbox_.flag("alerts.on", true); }

AlertWatchStatus AlertWatch::status() const {
  AlertWatchStatus status{session() != nullptr,
                          on_,
                          outbox_.flag(backstop, true),
                          {},
                          lastCheckIn_,
                          queuedNow(outbox_, sending_, turns_)};
  // A courier may be carrying it meanwhile, but only a guard looks what became of it.
  if (!started_) {
    for (auto& each : status.queued) each.why = AlertWatchStatus::Why::waitsForAGuard;
  }
  if (status.signedIn && on_) status.line = "Brindle is on: checking in every few minutes";
  return status;
}

}  // namespace brindle
