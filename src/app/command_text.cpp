#include "app/command_text.h"

#include <fmt/format.h>

#include <algorithm>

#include "base/iso8601.h"
#include "base/json_writer.h"

namespace brindle {
namespace {

constexpr EnumNames<PhotoVault::StateLoad, 5> loadNames{{{
    {PhotoVault::StateLoad::read, "read"},
    {PhotoVault::StateLoad::partial, "partial"},
    {PhotoVault::StateLoad::unreadable, "unreadable"},
    {PhotoVault::StateLoad::missing, "missing"},
    {PhotoVault::StateLoad::gone, "gone"},
}}};

constexpr EnumNames<SecretState, 4> secretNames{{{
    {SecretState::unknown, "unknown"},
    {SecretState::notSet, "not set"},
    {SecretState::set, "set"},
    {SecretState::unreadable, "unreadable"},
}}};

std::string whatHappened(const UnlockEvent& event) {
  if (event.attemptOnly) return "wrong try";
  if (!event.trigger) return "unlock";
  return event.trigger->name.empty() ? plainText(event.trigger->kind)
                                     : plainText(event.trigger->kind + " " + event.trigger->name);
}

std::string details(const UnlockEvent& event) {
  std::string text;
  const auto add = [&](std::int64_t count, std::string_view one, std::string_view many) {
    if (count > 0) text += fmt::format(", {} {}", count, count == 1 ? one : many);
  };
  add(static_cast<std::int64_t>(event.photoFiles.size()), "photo", "photos");
  add(event.wrongPINs, "wrong PIN", "wrong PINs");
  add(event.wrongAnswers, "wrong answer", "wrong answers");
  add(event.watchedOpenings, "folded opening", "folded openings");
  if (event.photoProblem)
    text += ", no usable photo: " + std::string(photoProblemNames.of(*event.photoProblem));
  if (!event.resolved) text += ", not confirmed";
  return text;
}

void writeTrigger(JsonWriter& out, const Trigger& trigger) {
  out.beginObject().field("kind", trigger.kind).field("name", trigger.name).endObject();
}

void writeFiles(JsonWriter& out, std::string_view key, const std::vector<FileName>& names,
                const std::string& photos) {
  out.key(key).beginArray();
  for (const auto& name : names) {
    if (isPlainFileName(name)) out.value(photos + "/" + name);
  }
  out.endArray();
}

void writeEvent(JsonWriter& out, const UnlockEvent& event, const std::string& photos) {
  out.beginObject()
      .field("id", event.id)
      .field("date", event.date)
      .field("resolved", event.resolved)
      .field("attemptOnly", event.attemptOnly)
      .field("wrongPINs", event.wrongPINs)
      .field("wrongAnswers", event.wrongAnswers)
      .field("watchedOpenings", event.watchedOpenings);
  if (event.trigger) writeTrigger(out.key("trigger"), *event.trigger);
  if (event.photoProblem) out.field("photoProblem", photoProblemNames.of(*event.photoProblem));
  out.key("alsoOpened").beginArray();
  for (const auto& opened : event.alsoOpened) writeTrigger(out, opened);
  out.endArray();
  writeFiles(out, "photos", event.photoFiles, photos);
  writeFiles(out, "openingPhotos", event.openingPhotos, photos);
  out.endObject();
}

/// How the document was found at the start, where a person has to know.
std::string documentText(PhotoVault::StateLoad loaded) {
  const bool asItShouldBe =
      loaded == PhotoVault::StateLoad::read || loaded == PhotoVault::StateLoad::gone;
  return asItShouldBe ? std::string() : fmt::format(" (state.json: {})", loadNames.of(loaded));
}

}  // namespace

std::string plainText(std::string_view text) {
  std::string safe(text);
  for (char& each : safe) {
    const auto byte = static_cast<unsigned char>(each);
    if (byte < 0x20 || byte == 0x7f) each = '?';
  }
  // C1 controls (U+0080 to U+009F) are two bytes in UTF-8.
  for (std::size_t i = 0; i + 1 < safe.size(); ++i) {
    const auto next = static_cast<unsigned char>(safe[i + 1]);
    if (safe[i] == '\xc2' && next >= 0x80 && next < 0xa0) safe[i] = safe[i + 1] = '?';
  }
  return safe;
}

std::string statusText(const StatusFacts& facts) {
  const GuardStatus& guard = facts.guard;
  std::string text = guard.armed ? "Brindle is on" : "Brindle is off";
  if (guard.armedBy) text += ", turned on by " + std::string(guard.armedBy->rawValue());
  if (guard.armedAt) text += " at " + isoSeconds(*guard.armedAt);
  text += ".\n";
  if (!facts.running) {
    text += guard.armed ? "But no guard is running: nothing watches this machine now.\n"
                        : "No guard is running.\n";
  }
  text += fmt::format("PIN: {}, secret answer: {}\n", secretNames.of(guard.secrets.pin),
                      secretNames.of(guard.secrets.answer));
  text += fmt::format("History: {} events, {} not confirmed{}\n", guard.events, guard.unresolved,
                      documentText(guard.loaded));
  text += fmt::format("Alert delay: {} s\n", facts.alertDelay);
  if (!guard.saved) text += fmt::format("Not saved yet; {} failed saves.\n", guard.saveFailures);
  if (!guard.cameraAllowed) text += "The camera may not be used.\n";
  if (!guard.lockSourceReachable) text += std::string(noLockSource) + "\n";
  return text + triggerLines(facts.triggers) + watchLine(facts.watched) +
         serviceStatusText(facts.service);
}

std::string statusJson(const StatusFacts& facts) {
  const GuardStatus& guard = facts.guard;
  std::string text;
  JsonWriter out(text);
  out.beginObject().field("running", facts.running).field("armed", guard.armed);
  if (guard.armedBy) out.field("armedBy", guard.armedBy->rawValue());
  if (guard.armedAt) out.field("armedAt", *guard.armedAt);
  out.field("pin", secretNames.of(guard.secrets.pin))
      .field("answer", secretNames.of(guard.secrets.answer))
      .field("events", guard.events)
      .field("unresolved", guard.unresolved)
      .field("state", loadNames.of(guard.loaded))
      .field("saved", guard.saved)
      .field("saveFailures", guard.saveFailures)
      .field("alertDelay", facts.alertDelay)
      .field("cameraAllowed", guard.cameraAllowed)
      .field("lockSource", guard.lockSourceReachable);
  writeServiceStatus(out, facts.service);
  writeWatchStatus(out.key("watched"), facts.watched);
  writeTriggerStatus(out, facts.triggers);
  out.endObject();
  return text + "\n";
}

std::string historyText(const EventList& events) {
  if (events.empty()) return "The history is empty.\n";
  std::string text;
  for (const auto& event : events) {
    text += fmt::format("{}  {}  {}{}\n", isoSeconds(event->date), event->id.upper(),
                        whatHappened(*event), details(*event));
  }
  return text;
}

std::string historyJson(const EventList& events, const std::string& photos) {
  std::string text;
  JsonWriter out(text);
  out.beginArray();
  for (const auto& event : events) writeEvent(out, *event, photos);
  out.endArray();
  return text + "\n";
}

bool isEssential(const ServiceReport& report) {
  constexpr std::array<std::string_view, 4> essential{"screen lock", "camera", "keychain", "files"};
  return std::ranges::find(essential, report.service) != essential.end();
}

std::string doctorText(const std::vector<ServiceReport>& reports) {
  std::string text;
  for (const auto& each : reports) {
    const std::string_view mark = each.answered ? "ok" : isEssential(each) ? "FAILED" : "missing";
    text += fmt::format("{:<8} {:<14} {:<16} {}\n", mark, each.service, each.backend,
                        plainText(each.detail));
    if (each.service == "screen lock" && !each.answered) text += std::string(noLockSource) + "\n";
  }
  return text;
}

std::string doctorJson(const std::vector<ServiceReport>& reports) {
  std::string text;
  JsonWriter out(text);
  out.beginArray();
  for (const auto& each : reports) {
    out.beginObject()
        .field("service", each.service)
        .field("backend", each.backend)
        .field("answered", each.answered)
        .field("essential", isEssential(each))
        .field("detail", each.detail)
        .endObject();
  }
  out.endArray();
  return text + "\n";
}

}  // namespace brindle
