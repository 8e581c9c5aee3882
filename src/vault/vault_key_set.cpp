#include "vault/vault_key_set.h"

#include <utility>

#include "vault/vault_message.h"

namespace brindle {
namespace {

constexpr Duration day = std::chrono::hours(24);

}  // namespace

VaultKeySet::VaultKeySet(const Parts& parts) : parts_(parts) { load(); }

void VaultKeySet::load() {
  const auto text = parts_.defaults.text(keysKey);
  if (!text) return;
  auto keys = readKeys(*text);
  // Whoever can write here could put in a key of their own: it is checked as an answer is.
  if (!keys || !keysFit(parts_.crypto, *keys)) {
    parts_.log.notice("vault keys: the kept set isn't used, it fails the checks");
    return;
  }
  keysAccount_ = parts_.defaults.text(accountKey).value_or(keys->email);
  keys_ = std::move(keys);
}

const Keys* VaultKeySet::keys() const {
  const bool its =
      !keysAccount_.empty() && sameAddress(keysAccount_, parts_.account.accountEmail());
  return keys_ && its ? &*keys_ : nullptr;
}

std::vector<Bytes> VaultKeySet::recipients() const {
  const Keys* known = keys();
  return known ? recipientsOf(*known) : std::vector<Bytes>();
}

bool VaultKeySet::isOwed() const {
  return !keys() && !sameAddress(refusedFor_, parts_.account.accountEmail());
}

// ---- when it is fetched

void VaultKeySet::start() {
  sessionChanges_ = parts_.account.onSessionChange([this] {
    if (parts_.account.session()) refresh();
  });
  refreshDaily();
}

void VaultKeySet::refreshDaily() {
  refresh();
  // The wall clock counts the hours asleep; the awake one goes on when the clock is set back.
  const auto again = [this] { refreshDaily(); };
  dailyAwake_ = parts_.scheduler.after(day, again);
  dailyWall_ = parts_.scheduler.atWallTime(
      parts_.scheduler.wallTime() + std::chrono::duration_cast<std::chrono::microseconds>(day),
      again);
}

bool VaultKeySet::isDue() const {
  const Keys* known = keys();
  // A vault that was just set up gets its first item.
  if (!known || setupStarted()) return true;
  const auto age = parts_.scheduler.wallTime() - known->fetchedAt;
  return age > freshFor || age < Duration::zero();
}

void VaultKeySet::beforeSealing(std::function<void()> done) {
  const bool waitedFor = keysTask_ && waitedOut_;
  if (!isDue() || waitedFor) return parts_.scheduler.post(lifetime_.guard(std::move(done)));
  hold(std::move(done));
  refresh();
}

void VaultKeySet::refreshAnew(std::function<void()> done) {
  hold(std::move(done));
  ask();
}

void VaultKeySet::hold(std::function<void()> done) {
  held_.push_back(std::move(done));
  if (heldUntil_.armed()) return;
  heldUntil_ = parts_.scheduler.after(longestWait, [this] {
    parts_.log.notice("vault keys: no answer yet, going on with the kept set");
    waitedOut_ = true;
    releaseHeld();
  });
}

void VaultKeySet::releaseHeld() {
  heldUntil_.cancel();
  for (auto& done : std::exchange(held_, {})) {
    parts_.scheduler.post(lifetime_.guard(std::move(done)));
  }
}

// ---- fetching

void VaultKeySet::refresh(Done done) {
  if (done) waiting_.push_back(std::move(done));
  if (!keysTask_) ask();
}

void VaultKeySet::ask() {
  keysTask_.end();
  waitedOut_ = false;
  askedFor_ = parts_.account.accountEmail();
  ServiceRequest request;
  request.method = HttpRequest::Method::get;
  request.path = endpoints::vaultKeys;
  request.timeout = endpoints::vaultTimeout;
  request.reload = true;
  keysTask_ =
      parts_.client.send(request, [this](const ServiceAnswer& answer) { answered(answer); });
  if (!keysTask_) finish(std::string(signInFirst));
}

void VaultKeySet::answered(const ServiceAnswer& answer) {
  keysTask_.end();
  // Another's set, or nobody's: whoever waits wants that of the account there is now.
  if (!sameAddress(askedFor_, parts_.account.accountEmail())) return ask();
  const bool none = answer.answer == AnswerClass::refused && !isNotAllowed(answer.status);
  refusedFor_ = none ? askedFor_ : "";
  finish(taken(answer));
}

std::string VaultKeySet::taken(const ServiceAnswer& answer) {
  if (answer.answer != AnswerClass::done) {
    parts_.log.notice("vault keys: not fetched, HTTP %{public}ld", answer.status);
    return vaultMessage(answer);
  }
  auto keys = readKeys(textOf(answer.body));
  if (!keys || !keysFit(parts_.crypto, *keys)) {
    parts_.log.notice("vault keys: refused, %{public}s",
                      keys ? "a key isn't the one its identifiers name" : "no key set");
    return std::string(somethingWrong);
  }
  take(*std::move(keys));
  return {};
}

void VaultKeySet::take(Keys keys) {
  keys.fetchedAt = std::chrono::floor<std::chrono::seconds>(parts_.scheduler.wallTime());
  const auto before = recipients();
  std::vector<std::pair<std::string, std::optional<PreferenceValue>>> changes = {
      {std::string(keysKey), keysJson(keys)}, {std::string(accountKey), askedFor_}};
  if (keys.vault) changes.emplace_back(setupStartedKey, std::nullopt);
  const bool kept = parts_.defaults.change(changes);
  keysAccount_ = askedFor_;
  keys_ = std::move(keys);
  const auto now = recipients();
  parts_.log.notice(
      "vault keys: fetched, %{public}ld recipients, others than before %{bool,public}d, "
      "kept %{bool,public}d",
      now.size(), now != before, kept);
  fetched_.tell(now != before);
}

void VaultKeySet::finish(const std::string& message) {
  for (auto& done : std::exchange(waiting_, {})) {
    parts_.scheduler.post(lifetime_.guard([done = std::move(done), message] { done(message); }));
  }
  releaseHeld();
}

}  // namespace brindle
