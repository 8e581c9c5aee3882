#include "service/alert_watch_sending.h"

#include <charconv>

namespace brindle {
namespace {

constexpr std::string_view labelWord = "watch|";
constexpr std::string_view unknown = "unknown";

/// The part up to the next bar, which is taken off as well.
std::optional<std::string_view> upToBar(std::string_view& text) {
  const auto bar = text.find('|');
  if (bar == std::string_view::npos) return std::nullopt;
  const std::string_view part = text.substr(0, bar);
  text.remove_prefix(bar + 1);
  return part;
}

std::string_view nameOf(AlertWatchRoute route) { return alertWatchRouteNames.of(route); }
std::string_view nameOf(AlertWatchChannel channel) { return alertWatchChannelNames.of(channel); }

}  // namespace

std::string AlertWatchLabel::text() const {
  return std::string(labelWord) + id.upper() + '|' + std::to_string(seq) + '|' + path;
}

std::optional<AlertWatchLabel> AlertWatchLabel::parse(std::string_view text) {
  if (!text.starts_with(labelWord)) return std::nullopt;
  text.remove_prefix(labelWord.size());
  const auto id = upToBar(text);
  const auto seq = upToBar(text);
  const auto parsed = id && seq ? Uuid::parse(*id) : std::nullopt;
  if (!parsed) return std::nullopt;
  AlertWatchLabel label{*parsed, 0, std::string(text)};
  const auto number = std::from_chars(seq->data(), seq->data() + seq->size(), label.seq);
  if (number.ec != std::errc() || number.ptr != seq->data() + seq->size()) return std::nullopt;
  return label;
}

void AlertWatchSending::start(Told told) {
  told_ = std::move(told);
  parts_.background.start(
      lifetime_.guard([this](const TransferResult& result) { transferred(result); }));
  parts_.background.unfinished(
      lifetime_.guard([this](const std::vector<std::string>& labels) { takeUp(labels); }));
}

void AlertWatchSending::takeUp(const std::vector<std::string>& labels) {
  for (const std::string& text : labels) {
    const auto label = AlertWatchLabel::parse(text);
    if (!label || !parts_.outbox.find(label->id)) {
      parts_.background.cancel(text);  // answered through its other copy before the end of its run
      continue;
    }
    Flight& flight = flights_[label->id];
    flight.label = text;
    flight.background.out = true;
    flight.background.begun = parts_.scheduler.awakeTime();
  }
  holdActivity();
  ready_ = true;
  told_.ready(labels);
}

ServiceRequest AlertWatchSending::requestFor(const AlertWatchOp& op) const {
  ServiceRequest request;
  request.path = std::string(endpoints::watch) + std::string(nameOf(op.route));
  const bool photo = op.route == AlertWatchRoute::pendingPhoto;
  // A picture has no room for the event it belongs to.
  if (photo) request.path += "?eventId=" + op.eventID.value_or(Uuid()).upper();
  request.contentType = photo ? endpoints::bytes : endpoints::json;
  request.bodyFile = parts_.bodies.path(op);
  if (request.bodyFile.empty()) {
    request.body = op.body;
    request.timeout = endpoints::inMemoryTimeout;
  }
  return request;
}

void AlertWatchSending::send(AlertWatchOutbox::Entry& entry) {
  AlertWatchOp& op = entry.op;
  if (op.file.empty() && op.attempts > 0) parts_.bodies.keep(op);
  const ServiceRequest request = requestFor(op);
  Flight& flight = flights_[op.id];
  flight.ofThisRun = true;
  sendImmediate(op, flight, request);
  // Only a file outlasts this program.
  if (!request.bodyFile.empty()) sendBackground(op, flight, request);
  if (!flight.out()) flights_.erase(op.id);
  op.sentAt = parts_.scheduler.wallTime();
  parts_.outbox.changed(entry);
  parts_.outbox.saveSoon();
  holdActivity();
}

void AlertWatchSending::sendImmediate(AlertWatchOp& op, Flight& flight,
                                      const ServiceRequest& request) {
  constexpr auto channel = AlertWatchChannel::immediate;
  flight.immediate.request = parts_.client.send(
      request, [this, id = op.id](const ServiceAnswer& answer) { answered(id, channel, answer); });
  if (!flight.immediate.request) return notSent(op, channel, "signed-out");
  begun(op, flight.immediate, channel);
}

void AlertWatchSending::sendBackground(AlertWatchOp& op, Flight& flight,
                                       const ServiceRequest& request) {
  constexpr auto channel = AlertWatchChannel::background;
  if (flight.background.out) return notSent(op, channel, "earlier");
  const auto built = parts_.client.build(request);
  if (!built) return notSent(op, channel, "signed-out");
  flight.label = AlertWatchLabel{op.id, op.seq, request.bodyFile}.text();
  if (parts_.background.send(*built, flight.label)) begun(op, flight.background, channel);
}

void AlertWatchSending::begun(AlertWatchOp& op, Copy& copy, AlertWatchChannel channel) {
  copy.out = true;
  copy.begun = parts_.scheduler.awakeTime();
  ++op.attempts;
  const auto* entry = parts_.outbox.find(op.id);
  parts_.log.notice("sent: %{public}s seq %{public}ld on %{public}s, attempt %{public}ld",
                    nameOf(op.route), op.seq, nameOf(channel), (entry ? entry->round : 0) + 1);
  if (told_.sent) told_.sent(op, channel);
}

void AlertWatchSending::wait(const AlertWatchOp& op) {
  notSent(op, AlertWatchChannel::immediate, "signed-out");
}

void AlertWatchSending::notSent(const AlertWatchOp& op, AlertWatchChannel channel,
                                std::string_view why) {
  parts_.log.notice("not sent: %{public}s seq %{public}ld on %{public}s, %{public}s",
                    nameOf(op.route), op.seq, nameOf(channel), why);
}

void AlertWatchSending::transferred(const TransferResult& result) {
  const ServiceAnswer answer = ServiceClient::judge(result.answer);
  const auto label = AlertWatchLabel::parse(result.description);
  if (label && parts_.outbox.find(label->id)) {
    answered(label->id, AlertWatchChannel::background, answer);
    // The system forgets a result once this returns. One that ended nothing may be forgotten here
    // too: what failed is sent again in any case, and a thousand failures are not worth a thousand
    // flushes.
    if (!parts_.outbox.find(label->id)) parts_.outbox.save();
    return;
  }
  logAnswer(unknown, label ? label->seq : 0,
            label ? nameOf(AlertWatchChannel::background) : unknown, answer);
}

void AlertWatchSending::logAnswer(std::string_view route, std::int64_t seq,
                                  std::string_view channel, const ServiceAnswer& answer) {
  parts_.log.notice(
      "answer: %{public}s seq %{public}ld on %{public}s, HTTP %{public}ld %{public}s in "
      "%{public}ld ms",
      route, seq, channel, answer.status, nameOf(answer.answer), answer.milliseconds);
}

void AlertWatchSending::answered(const Uuid& id, AlertWatchChannel channel,
                                 const ServiceAnswer& answer) {
  const auto* entry = parts_.outbox.find(id);
  if (!entry) return;
  const AlertWatchOp op = entry->op;
  logAnswer(nameOf(op.route), op.seq, nameOf(channel), answer);
  if (told_.answered) told_.answered(op, channel, answer);
  Flight& flight = flights_[id];
  flight.on(channel).out = false;
  if (answer.status == 0 && flight.out()) return;
  cancelRest(op, flight);
  flights_.erase(id);
  told_.settled(id, answer);
  holdActivity();
}

void AlertWatchSending::cancelRest(const AlertWatchOp& op, Flight& flight) {
  for (const auto channel : {AlertWatchChannel::immediate, AlertWatchChannel::background}) {
    Copy& copy = flight.on(channel);
    if (!std::exchange(copy.out, false)) continue;
    if (channel == AlertWatchChannel::background) parts_.background.cancel(flight.label);
    parts_.log.notice(
        "cancelled: %{public}s seq %{public}ld on %{public}s after %{public}ld ms: the other copy "
        "answered",
        nameOf(op.route), op.seq, nameOf(channel),
        millisecondsOf(parts_.scheduler.awakeTime() - copy.begun));
  }
}

bool AlertWatchSending::mayBegin(const Uuid& id) const {
  const auto flight = flights_.find(id);
  return flight == flights_.end() || !flight->second.ofThisRun;
}

std::vector<Uuid> AlertWatchSending::underWay() const {
  std::vector<Uuid> all;
  for (const auto& [id, flight] : flights_) all.push_back(id);
  return all;
}

bool AlertWatchSending::onlyHere(bool systemEnds) const {
  for (const auto& [id, flight] : flights_) {
    if (!flight.background.out || (systemEnds && flight.immediate.out)) return true;
  }
  return false;
}

void AlertWatchSending::drop(const Uuid& id) {
  const auto flight = flights_.find(id);
  if (flight == flights_.end()) return;
  if (flight->second.background.out) parts_.background.cancel(flight->second.label);
  flights_.erase(flight);
  holdActivity();
}

void AlertWatchSending::giveUpSilent() {
  const Duration now = parts_.scheduler.awakeTime();
  for (const Uuid& id : underWay()) {
    const auto found = flights_.find(id);
    if (found == flights_.end() || found->second.immediate.out) continue;
    if (now - found->second.background.begun < longestSilence) continue;
    parts_.background.cancel(found->second.label);
    answered(id, AlertWatchChannel::background, {});
  }
}

void AlertWatchSending::holdActivity() {
  if (flights_.empty()) return endActivity();
  if (!activity_) beginActivity();
}

void AlertWatchSending::beginActivity() {
  activity_ = parts_.activity.begin("Check-ins are being sent");
}

void AlertWatchSending::endActivity() { activity_.end(); }

}  // namespace brindle
