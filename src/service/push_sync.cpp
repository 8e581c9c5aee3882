#include "service/push_sync.h"

#include <utility>

namespace brindle {

PushSync::PushSync(Parts parts)
    : parts_(std::move(parts)),
      registrar_({parts_.scheduler, parts_.client, parts_.account, parts_.defaults, parts_.machine,
                  parts_.deviceId}),
      received_(parts_.files, parts_.worker, parts_.received) {}

void PushSync::start() {
  sessionChanges_ = parts_.account.onSessionChange([this] { hurry(); });
  registrar_.setWanted(on());
  listening_ = parts_.push.listen({[this](const std::string& token) { registrar_.setToken(token); },
                                   [this](const std::string&) { registrar_.setToken({}); },
                                   [this](const Bytes& message) { arrived(message); }});
}

bool PushSync::setOn(bool on) {
  if (!parts_.defaults.set(switchKey, on)) return false;
  if (!on) {
    waiting_.clear();
    request_.end();
    retry_.cancel();
  }
  registrar_.setWanted(on);
  return true;
}

void PushSync::hurry() {
  registrar_.sync();
  pump();
}

// ---- what happens here

void PushSync::send(const DeviceNotice& notice) {
  const std::string email = parts_.account.accountEmail();
  if (!on() || email.empty()) return;
  CrossDeviceNotice out;
  out.kind = notice.kind;
  out.device = parts_.machine.name();
  if (out.device.empty()) out.device = "Mac";
  out.targetName = notice.targetName;
  out.source = notice.source;
  out.reason = notice.reason;
  // The oldest one says least about now; the one on its way cannot be called back.
  if (waiting_.size() >= mostWaiting) waiting_.erase(waiting_.begin() + (request_ ? 1 : 0));
  waiting_.push_back({email, writeNotice(out), 0});
  if (!retry_.armed()) pump();
}

void PushSync::pump() {
  const auto& session = parts_.account.session();
  if (request_ || !session) return;
  while (!waiting_.empty() && waiting_.front().email != session->email) waiting_.pop_front();
  if (waiting_.empty()) return;
  retry_.cancel();
  ++waiting_.front().tries;
  ServiceRequest request;
  request.path = std::string(endpoints::push) + "notify";
  request.contentType = std::string(endpoints::json);
  request.body = bytesOf(waiting_.front().body);
  request.timeout = endpoints::pushTimeout;
  request.reload = true;
  request_ = parts_.client.send(request, lifetime_.guard([this](ServiceAnswer answer) {
    request_ = {};
    answered(answer.answer);
  }));
}

void PushSync::answered(AnswerClass answer) {
  const std::size_t tries = waiting_.front().tries;
  const bool again = answer == AnswerClass::failed && tries < mostTries;
  if (!again) waiting_.pop_front();
  if (answer != AnswerClass::failed) return pump();
  retry_ = parts_.scheduler.after(pushRetryWait(tries - 1), [this] { pump(); });
}

// ---- what happens elsewhere

void PushSync::arrived(const Bytes& message) {
  // Nobody is told of the devices of an account that is not signed in here any more.
  if (!on() || parts_.account.accountEmail().empty()) return;
  auto notice = readNotice(textOf(message));
  if (!notice) return;
  if (notice->kind == OtherDeviceNotice::turnOnKind) {
    if (onTurnOn) onTurnOn();
    return;
  }
  const OtherDeviceNotice shown{parts_.scheduler.wallTime(), std::move(*notice)};
  parts_.notifications.post(
      {"notice-" + parts_.random.newUuid().upper(), shown.title(), shown.device()}, {});
  received_.add(shown);
}

}  // namespace brindle
