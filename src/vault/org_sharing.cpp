#include "vault/org_sharing.h"

#include <utility>

#include "service/email_sign_in.h"
#include "vault/vault_message.h"

namespace brindle {
namespace {

std::string trimmed(const std::string& text) {
  constexpr std::string_view blank = " \t\r\n";
  const std::size_t first = text.find_first_not_of(blank);
  if (first == std::string::npos) return {};
  return text.substr(first, text.find_last_not_of(blank) - first + 1);
}

/// What the answer holds, or what to tell instead.
template <class Reply>
Result<Reply, std::string> outcomeOf(const ServiceAnswer* answer, const std::string& name,
                                     std::optional<Reply> (*read)(std::string_view)) {
  if (!answer) return std::unexpected(std::string(signInFirst));
  if (answer->answer != AnswerClass::done) return std::unexpected(vaultMessage(*answer, name));
  auto reply = read(textOf(answer->body));
  if (!reply) return std::unexpected(std::string(somethingWrong));
  return *std::move(reply);
}

}  // namespace

void OrgSharing::lookUp(const std::string& code, Done<LookupReply> done) {
  const std::string typed = trimmed(code);
  ask({endpoints::vaultOrgLookup,
       jsonBody({{"code", typed}}),
       {},
       [this, typed, done = std::move(done)](const ServiceAnswer* answer) {
         const auto outcome = outcomeOf(answer, nameFor(typed), readLookupReply);
         if (outcome) {
           code_ = typed;
           name_ = outcome->name;
         }
         done(outcome);
       }});
}

void OrgSharing::join(const std::string& code, const std::string& deviceName,
                      Done<JoinReply> done) {
  const std::string typed = trimmed(code);
  ask({endpoints::vaultOrgJoin,
       jsonBody({{"code", typed}, {"deviceName", deviceName}}),
       {},
       [this, typed, done = std::move(done)](const ServiceAnswer* answer) {
         auto outcome = outcomeOf(answer, nameFor(typed), readJoinReply);
         // Only a refusal says for certain that nothing was joined.
         const bool maybe = answer && answer->answer != AnswerClass::refused;
         if (!maybe) return done(outcome);
         parts_.keys.refreshAnew([done, outcome = std::move(outcome)] { done(outcome); });
       }});
}

std::string OrgSharing::nameFor(const std::string& code) const {
  return code == code_ ? name_ : std::string();
}

void OrgSharing::ask(Asked asked) {
  asked.email = parts_.account.accountEmail();
  asked_.push_back(std::move(asked));
  // Not from inside the caller, and after what was asked before.
  parts_.scheduler.post(lifetime_.guard([this] { next(); }));
}

void OrgSharing::next() {
  if (request_ || asked_.empty()) return;
  const Asked& first = asked_.front();
  ServiceRequest request;
  request.path = std::string(first.path);
  request.contentType = endpoints::json;
  request.body = first.body;
  request.timeout = endpoints::vaultTimeout;
  if (sameAddress(first.email, parts_.account.accountEmail())) {
    request_ = parts_.client.send(request, [this](const ServiceAnswer& answer) { ended(&answer); });
  }
  if (!request_) ended(nullptr);
}

void OrgSharing::ended(const ServiceAnswer* answer) {
  request_.end();
  const Asked asked = std::move(asked_.front());
  asked_.pop_front();
  const bool join = asked.path == endpoints::vaultOrgJoin;
  if (answer) {
    parts_.log.notice("vault sharing: %{public}s answered, HTTP %{public}ld",
                      join ? "join" : "look-up", answer->status);
  }
  parts_.scheduler.post(lifetime_.guard([this] { next(); }));
  asked.settle(answer);
}

}  // namespace brindle
