#include "service/session_keeper.h"

#include <algorithm>

#include "base/secret_text.h"
#include "service/session_json.h"

namespace brindle {
namespace {

using namespace keychain_code;

constexpr std::string_view sessionItem = "brindle.account";
/// Set while an item that nobody may use any more can still be in the keychain.
constexpr const char* signedOutKey = "account.signedOut";
/// Whose session the item is, for the time before it can be read.
constexpr const char* emailKey = "account.email";
/// A keychain is mostly locked for the first seconds after a login only, and unlocks may be owed.
constexpr Duration firstWait = std::chrono::seconds(2);
constexpr Duration longestWait = std::chrono::minutes(1);

/// Asking again may help, and asks no person.
bool passes(int code) {
  return code == interactionNotAllowed || code == notAvailable || code == io;
}

}  // namespace

struct SessionKeeper::Found {
  int code = success;
  std::optional<Session> session;
};

SessionKeeper::~SessionKeeper() {
  if (session_) wipe(session_->token);
}

void SessionKeeper::load() {
  if (services_.preferences.boolean(signedOutKey).value_or(false)) {
    removeItem();
    return publish(std::nullopt);
  }
  auto result = std::make_shared<Found>();
  services_.worker.run(
      [&items = services_.items, result] {
        KeychainRead item = items.read(sessionItem);
        result->code = item.code;
        if (item.code == success) result->session = readSession(textOf(item.data));
        wipe(item.data);
      },
      lifetime_.guard([this, result, changes = changes_] {
        if (changes == changes_) found(*result);
      }));
}

void SessionKeeper::found(const Found& found) {
  if (found.code != success && found.code != itemNotFound) {
    if (std::exchange(problem_, found.code) != found.code) {
      services_.log.notice("account: session not read, %{public}d", found.code);
    }
    if (!passes(found.code)) return;
    wait_ = std::clamp(wait_ * 2, firstWait, longestWait);
    again_ = services_.scheduler.after(wait_, [this] { load(); });
    return;
  }
  if (found.code == success && !found.session) {
    services_.log.notice("account: session not understood, kept until the next sign-in");
  }
  // Without it a start before the keychain answers knows nobody; the next one has another chance.
  static_cast<void>(remember(found.session ? found.session->email : std::string()));
  publish(found.session);
}

bool SessionKeeper::remember(const std::string& email) {
  if (email.empty()) return services_.preferences.remove(emailKey);
  return services_.preferences.set(emailKey, email);
}

std::string SessionKeeper::accountEmail() const {
  if (session_) return session_->email;
  return loaded_ ? std::string() : services_.preferences.text(emailKey).value_or("");
}

void SessionKeeper::save(Session session, std::function<void(bool)> done) {
  struct Saved {
    std::string text;
    int code = success;
  };
  auto saved = std::make_shared<Saved>();
  saved->text = writeSession(session);
  services_.worker.run(
      [&items = services_.items, saved] {
        saved->code = items.write(sessionItem, viewOf(saved->text));
        wipe(saved->text);
      },
      lifetime_.guard([this, saved, session = std::move(session), done = std::move(done)] {
        const bool usable = saved->code == success && (!services_.preferences.get(signedOutKey) ||
                                                       services_.preferences.remove(signedOutKey));
        if (usable) {
          static_cast<void>(remember(session.email));  // as in `found`
          publish(session);
        } else {
          services_.log.notice("account: session not saved, %{public}d", saved->code);
        }
        done(usable);
      }));
}

bool SessionKeeper::clear(Changes also) {
  also.emplace_back(signedOutKey, true);
  also.emplace_back(emailKey, std::nullopt);
  if (!services_.preferences.change(also)) return false;
  publish(std::nullopt);
  removeItem();
  return true;
}

void SessionKeeper::removeItem() {
  auto code = std::make_shared<int>(success);
  services_.worker.run([&items = services_.items, code] { *code = items.remove(sessionItem); },
                       lifetime_.guard([this, code] {
                         const bool gone = *code == success || *code == itemNotFound;
                         if (gone && services_.preferences.remove(signedOutKey)) return;
                         services_.log.notice(
                             "account: session not removed, %{public}d, trying at the next start",
                             *code);
                       }));
}

void SessionKeeper::publish(std::optional<Session> session) {
  ++changes_;
  again_.cancel();
  if (std::exchange(loaded_, true) && session == session_) return;
  if (session_) wipe(session_->token);
  session_ = std::move(session);
  changed_.tell();
}

}  // namespace brindle
