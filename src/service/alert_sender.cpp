#include "service/alert_sender.h"

#include <algorithm>
#include <array>
#include <memory>
#include <utility>

#include "core/device_notices.h"

namespace brindle {
namespace {

AlertSender::Result resultOf(int status) {
  switch (classify(status)) {
    case AnswerClass::done:
      return AlertSender::Result::delivered;
    case AnswerClass::refused:
      return AlertSender::Result::rejected;
    case AnswerClass::failed:
      break;
  }
  return AlertSender::Result::retryLater;
}

constexpr Duration loadPause = std::chrono::seconds(30);

std::vector<Bytes> readPhotos(Files& files, const std::vector<std::string>& paths) {
  std::vector<Bytes> photos;
  for (const std::string& path : paths) {
    auto content = files.read(path);  // one that is gone or unreadable does not hold up the rest
    if (content && photos.size() < MultipartBody::mostPhotos) photos.push_back(*content);
  }
  return photos;
}

}  // namespace

Duration AlertSender::retryWait(std::size_t failures) {
  using namespace std::chrono_literals;
  static constexpr std::array<Duration, 6> waits{2s, 4s, 8s, 16s, 32s, 60s};
  return failures < waits.size() ? waits[failures] : Duration(10min);
}

AlertSender::AlertSender(Parts parts)
    : parts_(std::move(parts)), outbox_(parts_.files, parts_.worker, parts_.outbox) {}

// ---- handing over

void AlertSender::handOver(const UnlockEvent& event, std::function<void(HandOver)> done) {
  AlertFields fields;
  fields.unlockAt = event.date;
  fields.wrongPINs = event.wrongPINs;
  if (const std::string kind = kindOf(event); kind != "unlock") fields.reason = kind;
  fields.targetName = watchedItemOf(event.trigger);
  fields.location = event.location;
  std::vector<FileName> photos = event.photoFiles;
  photos.insert(photos.end(), event.openingPhotos.begin(), event.openingPhotos.end());
  take(event.id, std::move(fields), photos, std::move(done));
}

void AlertSender::handOver(const CameraOffAlert& alert, std::function<void(HandOver)> done) {
  AlertFields fields;
  fields.unlockAt = alert.at;
  fields.reason = "camera-off";
  take(alert.id, std::move(fields), {}, std::move(done));
}

void AlertSender::take(const Uuid& id, AlertFields fields, const std::vector<FileName>& photos,
                       std::function<void(HandOver)> done) {
  const auto answer = [this, &done](HandOver how) {
    parts_.scheduler.post(lifetime_.guard([done = std::move(done), how] { done(how); }));
  };
  const std::string email = parts_.account.accountEmail();
  if (email.empty() || !wantsAlerts()) return answer(HandOver::nothingOwed);
  if (!roomFor(email) && !outbox_.find(id)) return answer(HandOver::notHandedOver);
  fields.timeZone = parts_.machine.timeZone();
  fields.deviceName = parts_.machine.name();
  if (fields.deviceName.empty()) fields.deviceName = "Mac";
  std::vector<std::string> paths;
  for (const FileName& name : photos) {
    if (isPlainFileName(name)) paths.push_back(joinPath(parts_.photos, name));
  }
  AlertBody body;
  body.id = id;
  body.email = email;
  body.file = alertBodyName(parts_.random.newUuid());
  const AlertBody* before = outbox_.find(id);
  const std::string replaced = before ? label(*before) : std::string();
  composing_.insert(id);
  const auto compose = [&files = parts_.files, &random = parts_.random, fields, paths] {
    return multipartBody(fields, readPhotos(files, paths),
                         [&random] { return random.newUuid().upper(); });
  };
  outbox_.write(body, compose,
                lifetime_.guard([this, id, replaced, done = std::move(done)](bool written) {
                  const bool wanted = composing_.erase(id) > 0;
                  if (written) forget(id);
                  if (written && !replaced.empty()) parts_.transfer.cancel(replaced);
                  if (written && !wanted) outbox_.remove(id);
                  done(written ? HandOver::handedOver : HandOver::notHandedOver);
                  send(id);
                }));
}

bool AlertSender::roomFor(const std::string& email) const {
  const auto its = [&email](const auto& entry) { return entry.second.email == email; };
  return std::ranges::count_if(outbox_.all(), its) < static_cast<std::ptrdiff_t>(mostBodies);
}

bool AlertSender::holds(const Uuid& id) const {
  const AlertBody* body = outbox_.find(id);
  return body && !body->withdrawn;
}

void AlertSender::withdraw(const Uuid& event) {
  composing_.erase(event);
  if (!outbox_.find(event)) return;
  if (sending_[event].underWay) return outbox_.withdraw(event);
  forget(event);
  outbox_.remove(event);
}

void AlertSender::forgetAccount(const std::string& email) {
  if (!outbox_.load()) return;  // the next start brings this once more
  composing_.clear();           // nobody else has been signed in meanwhile
  std::vector<AlertBody> its;
  for (const auto& [id, body] : outbox_.all()) {
    if (sameAddress(body.email, email)) its.push_back(body);
  }
  for (const AlertBody& body : its) {
    parts_.transfer.cancel(label(body));
    ended(body, Result::rejected);
  }
}

bool AlertSender::setWantsAlerts(bool wanted) {
  return parts_.defaults.change({{std::string(onKey), wanted}, {std::string(touchedKey), true}});
}

std::vector<AlertSender::Waiting> AlertSender::waiting() const {
  std::vector<Waiting> all;
  for (const auto& [id, body] : outbox_.all()) {
    const auto known = sending_.find(id);
    const bool underWay = known != sending_.end() && known->second.underWay;
    Waiting one{id, Waiting::Why::waitsForRetry, 0};
    if (underWay) one.why = Waiting::Why::onItsWay;
    if (!underWay && !mayBeSent(body)) one.why = Waiting::Why::notSignedIn;
    if (known != sending_.end()) one.failures = known->second.failures;
    all.push_back(one);
  }
  return all;
}

// ---- sending

std::string AlertSender::label(const AlertBody& body) const {
  return body.id.upper() + "|" + outbox_.path(body);
}

bool AlertSender::mayBeSent(const AlertBody& body) const {
  const auto& session = parts_.account.session();
  return session && session->email == body.email && !body.withdrawn;
}

void AlertSender::hurry() {
  if (!tookUp_) return;
  for (auto& [id, sending] : sending_) sending.failures = 0;
  sendAll();
  moveEarlier();
}

void AlertSender::sendAll() {
  std::vector<Uuid> ids;
  for (const auto& [id, body] : outbox_.all()) ids.push_back(id);
  for (const Uuid& id : ids) send(id);
}

void AlertSender::send(const Uuid& id) {
  const AlertBody* body = outbox_.find(id);
  // Before the earlier runs' uploads are known, a body may be on its way already.
  if (!body || !tookUp_ || !mayBeSent(*body) || composing_.contains(id)) return;
  Sending& sending = sending_[id];
  if (sending.underWay) return;
  if (dropIfLapsed(AlertBody(*body))) return;
  if (!body->from.empty()) {
    parts_.log.notice("alert upload: an earlier build's had no answer, sent again from its copy");
  }
  sending.retry.cancel();
  ServiceRequest request;
  request.path = std::string(endpoints::alert);
  request.contentType = "multipart/form-data; boundary=" + body->boundary;
  request.bodyFile = outbox_.path(*body);
  request.headers = {{"X-Brindle-Alert", id.upper()}};
  const auto built = parts_.client.build(request);
  sending.underWay = built && parts_.transfer.send(*built, label(*body));
  if (!sending.underWay) failed(AlertBody(*body));
}

void AlertSender::taken(const TransferResult& result) {
  const std::string_view description = result.description;
  const std::size_t bar = description.find('|');
  if (bar == description.npos) return;
  const std::string file(description.substr(bar + 1));
  const Result how = resultOf(result.answer.status);
  const auto id = Uuid::parse(description.substr(0, bar));
  const AlertBody* body = id ? outbox_.find(*id) : nullptr;
  earlierTasks_.erase(result.description);
  if (body && (file == outbox_.path(*body) || file == body->from)) {
    if (result.answer.status == 0) {
      parts_.log.notice("alert upload: no answer, %{public}s %{public}ld", "attempt",
                        sending_[body->id].failures + 1);
    }
    return ended(AlertBody(*body), how);
  }
  // An earlier build's, answered before it was taken over.
  if (how == Result::retryLater || !id || file != joinPath(parts_.temporary, alertBodyName(*id))) {
    return;
  }
  earlierDone_.insert(file);
  parts_.worker.run([&files = parts_.files, file] { (void)files.remove(file); }, {});
}

void AlertSender::ended(const AlertBody& body, Result result) {
  sending_[body.id].underWay = false;
  if (result == Result::retryLater) {
    if (!body.withdrawn) return failed(body);
  } else {
    results_.tell(body.id, result == Result::delivered ? AlertState::sent : AlertState::rejected);
  }
  forget(body.id);
  outbox_.remove(body.id);
}

void AlertSender::failed(const AlertBody& body) {
  if (dropIfLapsed(body)) return;
  Sending& sending = sending_[body.id];
  sending.retry = parts_.scheduler.after(retryWait(sending.failures++),
                                         [this, id = body.id] { send(Uuid(id)); });
}

// ---- what earlier runs left

void AlertSender::start() {
  if (std::exchange(started_, true)) return;
  (void)outbox_.load();  // what cannot be read now is tried again
  sessionChanges_ = parts_.account.onSessionChange([this] { hurry(); });
  parts_.transfer.start(lifetime_.guard([this](const TransferResult& result) { taken(result); }));
  parts_.transfer.unfinished(
      lifetime_.guard([this](const std::vector<std::string>& labels) { takeUp(labels); }));
}

void AlertSender::takeUp(const std::vector<std::string>& labels) {
  tookUp_ = true;
  earlierTasks_.insert(labels.begin(), labels.end());
  settleIn();
  moveEarlier();
}

void AlertSender::settleIn() {
  if (!outbox_.load()) {
    loadAgain_ = parts_.scheduler.after(loadPause, [this] { settleIn(); });
    return;
  }
  std::vector<AlertBody> bodies;
  for (const auto& [id, body] : outbox_.all()) bodies.push_back(body);
  for (const AlertBody& body : bodies) {
    const bool its = earlierTasks_.contains(label(body)) ||
                     earlierTasks_.contains(body.id.upper() + "|" + body.from);
    if (its) {
      sending_[body.id].underWay = true;
    } else if (body.withdrawn) {
      outbox_.remove(body.id);
    } else {
      send(body.id);
    }
  }
}

void AlertSender::moveEarlier() {
  const auto& session = parts_.account.session();
  if (parts_.temporary.empty() || !session || std::exchange(moveBegun_, true)) return;
  const auto result = std::make_shared<MovedAlertBodies>();
  parts_.worker.run(
      [&files = parts_.files, from = parts_.temporary, to = parts_.outbox, result] {
        *result = copyEarlierAlertBodies(files, from, to);
      },
      lifetime_.guard([this, result, email = session->email] { moved(*result, email); }));
}

void AlertSender::moved(const MovedAlertBodies& moved, const std::string& email) {
  const auto copied = static_cast<long>(moved.copied.size());
  if (copied + moved.notCopied == 0) return;
  parts_.log.notice(
      "alert uploads: %{public}ld bodies copied out of the temporary folder, %{public}ld not",
      copied, moved.notCopied);
  for (AlertBody body : moved.copied) {
    if (outbox_.find(body.id)) continue;
    body.email = email;
    body.takenOver = parts_.scheduler.wallTime();
    outbox_.adopt(body, lifetime_.guard([this, id = body.id](bool written) {
      if (written) adopted(id);
    }));
  }
}

void AlertSender::adopted(const Uuid& id) {
  const AlertBody* body = outbox_.find(id);
  if (!body) return;
  if (earlierDone_.contains(body->from)) return outbox_.remove(id);
  if (earlierTasks_.contains(id.upper() + "|" + body->from)) {
    sending_[id].underWay = true;
  } else {
    send(id);
  }
}

bool AlertSender::dropIfLapsed(const AlertBody& body) {
  if (!hasLapsed(body, parts_.scheduler.wallTime())) return false;
  parts_.log.notice(
      "alert upload: an earlier build's had no answer and isn't sent again, its copy removed");
  forget(body.id);
  outbox_.remove(body.id);
  return true;
}

}  // namespace brindle
