#include "app/service_text.h"

#include <fmt/format.h>

#include "app/command_text.h"
#include "base/iso8601.h"
#include "base/json_writer.h"

namespace brindle {
namespace {

using Why = AlertSender::Waiting::Why;
constexpr EnumNames<Why, 3> reportWhyNames{{{
    {Why::onItsWay, "on its way"},
    {Why::waitsForRetry, "is tried again"},
    {Why::notSignedIn, "waits until its account is signed in"},
}}};

constexpr std::string_view notTakenOverYet = "could not be written for sending, is tried again";

std::string checkInText(const AlertWatchStatus::CheckIn& checkIn) {
  return fmt::format("Last check-in answered: {}, {} (HTTP {})\n", isoSeconds(checkIn.answeredAt),
                     nameOf(checkIn.answer), checkIn.status);
}

std::string secondsText(std::optional<Duration> wait) {
  return wait ? fmt::format(", next try in {:.0f} s", secondsOf(*wait)) : std::string();
}

}  // namespace

std::string accountText(const AccountStatus& account) {
  std::string text;
  if (!account.loaded) {
    text = "The keychain has not said yet who is signed in.\n";
  } else if (account.state == "session") {
    text = fmt::format("Signed in as {} ({}).\n", plainText(account.email), account.provider);
  } else if (account.state == "pending") {
    text = fmt::format("A sign-in link was sent to {}. Open it on this machine.\n",
                       plainText(account.email));
  } else if (account.state.empty()) {
    text = "Nobody is signed in.\n";
  }
  if (account.signingIn) text += "A sign-in is under way.\n";
  if (!account.notice.empty()) text += account.notice + "\n";
  return text;
}

std::string serviceStatusText(const ServiceFacts& facts) {
  std::string text = accountText(facts.account);
  if (!facts.watch.line.empty()) text += facts.watch.line + "\n";
  if (facts.watch.lastCheckIn) text += checkInText(*facts.watch.lastCheckIn);
  if (facts.owed() > 0) {
    text += fmt::format("Owed to the alert service: {} (brindle outbox)\n", facts.owed());
  }
  if (facts.account.state == "session" && !facts.wantsAlerts) {
    text += "E-mail alerts are off.\n";
  }
  return text + vaultLine(facts.vault);
}

void writeServiceStatus(JsonWriter& out, const ServiceFacts& facts) {
  out.key("account").beginObject().field("state", facts.account.state);
  if (!facts.account.email.empty()) out.field("email", facts.account.email);
  if (!facts.account.provider.empty()) out.field("provider", facts.account.provider);
  out.field("notice", facts.account.notice).endObject();
  out.field("emailAlerts", facts.wantsAlerts).field("backstop", facts.watch.backstop);
  if (const auto& checkIn = facts.watch.lastCheckIn) {
    out.key("lastCheckIn")
        .beginObject()
        .field("at", checkIn->answeredAt)
        .field("answer", nameOf(checkIn->answer))
        .field("status", checkIn->status)
        .endObject();
  }
  out.field("owed", facts.owed());
  writeVaultStatus(out.key("vault"), facts.vault);
}

std::string termsText(const LiveTerms& terms, const TermsGate& gate) {
  std::string text = fmt::format("Terms in force: {}\n", gate.requiredVersion());
  if (!terms.terms().empty()) text += "Terms: " + plainText(terms.terms()) + "\n";
  if (!terms.privacy().empty()) text += "Privacy: " + plainText(terms.privacy()) + "\n";
  text += gate.hasAgreed() ? "You have agreed to them.\n"
                           : "You have not agreed to them: brindle terms agree\n";
  return text;
}

std::string outboxText(const ServiceFacts& facts) {
  std::string text;
  for (const auto& each : facts.watch.queued) {
    text += fmt::format("{}  {:<13} {}  {}{}, sent {} times\n", isoSeconds(each.createdAt),
                        alertWatchRouteNames.of(each.route),
                        each.eventID ? each.eventID->upper() : std::string(36, '-'),
                        alertWatchWhyNames.of(each.why), secondsText(each.nextTry), each.attempts);
  }
  for (const auto& each : facts.reports) {
    text += fmt::format("report of {}  {}, failed {} times\n", each.id.upper(),
                        reportWhyNames.of(each.why), each.failures);
  }
  for (const Uuid& id : facts.notTakenOver) {
    text += fmt::format("report of {}  {}\n", id.upper(), notTakenOverYet);
  }
  return text.empty() ? "Nothing is owed to the alert service.\n" : text;
}

std::string outboxJson(const ServiceFacts& facts) {
  std::string text;
  JsonWriter out(text);
  out.beginObject().key("watch").beginArray();
  for (const auto& each : facts.watch.queued) {
    out.beginObject().field("id", each.id).field("route", alertWatchRouteNames.of(each.route));
    if (each.eventID) out.field("eventId", *each.eventID);
    out.field("createdAt", each.createdAt)
        .field("attempts", each.attempts)
        .field("why", alertWatchWhyNames.of(each.why));
    if (each.nextTry) out.field("nextTrySeconds", secondsOf(*each.nextTry));
    out.endObject();
  }
  out.endArray().key("reports").beginArray();
  for (const auto& each : facts.reports) {
    out.beginObject()
        .field("id", each.id)
        .field("why", reportWhyNames.of(each.why))
        .field("failures", each.failures)
        .endObject();
  }
  for (const Uuid& id : facts.notTakenOver) {
    out.beginObject().field("id", id).field("why", notTakenOverYet).endObject();
  }
  out.endArray().endObject();
  return text + "\n";
}

}  // namespace brindle
