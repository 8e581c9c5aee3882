#include "app/trigger_commands.h"

#include "app/typed_number.h"

namespace brindle {
namespace {

constexpr Duration longestChirp = std::chrono::seconds(3);
constexpr Duration chirpLook = std::chrono::milliseconds(100);

Reply saying(std::string text, int exitCode = exit_code::done) {
  return {.text = std::move(text), .exitCode = exitCode};
}

Reply failing(std::string text) { return saying(std::move(text) + "\n", exit_code::failed); }

Reply notStored() { return failing("That could not be stored."); }

bool* settingNamed(AlarmSettings& settings, std::string_view name) {
  if (name == "unplugged") return &settings.unplugged;
  if (name == "lid") return &settings.lid;
  if (name == "unconfirmed") return &settings.unconfirmed;
  if (name == "awake") return &settings.stayAwake;
  return nullptr;
}

bool onlyLooks(const Request& request) {
  const std::string& what = request.target;
  return what.empty() || what == "list" || what == "test";
}

}  // namespace

bool TriggerCommands::knows(const std::string& command) {
  return command == "alarm" || command == "schedule" || command == "idle" || command == "log";
}

/// Looking is free, except at what happened; a change is one of a setting.
CommandHandler::Need TriggerCommands::needOf(const Request& request) const {
  const bool stops = request.command == "alarm" && request.target == "stop";
  if (stops && !triggers_.alarm().sounding()) {
    return {.proof = {}, .refusal = failing("The alarm isn't sounding.")};
  }
  if (stops) return {.proof = OwnerPurpose::alarm, .refusal = {}};
  const bool unprotected = store_.pinState() == SecretState::notSet && !store_.armed();
  if (unprotected) return {};
  if (request.command == "log") return {.proof = OwnerPurpose::history, .refusal = {}};
  if (onlyLooks(request)) return {};
  return {.proof = OwnerPurpose::action, .refusal = {}};
}

void TriggerCommands::run(const Request& request, CommandHandler::Done done) {
  if (request.command == "alarm" && request.target == "test") return chirp(std::move(done));
  if (request.command == "alarm") return done(alarm(request));
  if (request.command == "schedule") return done(schedule(request));
  if (request.command == "idle") return done(idle(request));
  done(unlocks(request));
}

TriggerFacts TriggerCommands::facts() const {
  const TriggerServices& services = triggers_.services();
  const auto next = triggers_.schedule().next();
  return {
      .settings = triggers_.alarm().settings(),
      .sounding = triggers_.alarm().sounding(),
      .hasBattery = services.powerSource.hasBattery(),
      .tellsLid = services.powerSource.read().lidClosed.has_value(),
      .awakeOffered = services.assertions.offers(PowerAssertions::Kind::preventUserIdleSystemSleep),
      .forcesVolume = services.distribution == "direct",
      .times = triggers_.schedule().times(),
      .timesComplete = triggers_.schedule().complete(),
      .next = next ? std::optional(services.calendar.local(*next)) : std::nullopt,
      .idleMinutes = triggers_.idle().minutes(),
      .idleAvailable = triggers_.idle().available()};
}

Reply TriggerCommands::alarm(const Request& request) {
  if (request.target.empty()) return saying(alarmText(facts()));
  if (request.target == "stop") return saying("The alarm is stopped.\n");
  AlarmSettings settings = triggers_.alarm().settings();
  bool* setting = settingNamed(settings, request.target);
  if (!setting) return failing("There is no such alarm.");
  const bool on = request.value == "on";
  if (on && request.target == "unplugged" && !triggers_.services().powerSource.hasBattery()) {
    return failing("This machine has no battery: unplugged, it is off.");
  }
  *setting = on;
  if (!triggers_.alarm().setSettings(settings)) return notStored();
  return saying(alarmText(facts()));
}

/// The owner hears what the alarm's output is without the alarm: at the volume that is set.
void TriggerCommands::chirp(CommandHandler::Done done) {
  const auto answer = [this, done](Reply reply) {
    chirping_.cancel();
    chirp_.reset();
    done(std::move(reply));
  };
  if (chirping_.armed()) return done(failing("A test sounds already."));
  const TriggerServices& services = triggers_.services();
  chirp_ = services.player.play(
      {.file = joinPath(services.sounds, "chirp.wav"), .loops = false},
      [answer](const SoundFailure& failure) { answer(failing("No sound: " + failure.text)); });
  Scheduler& scheduler = triggers_.scheduler();
  const Duration end = scheduler.awakeTime() + longestChirp;
  chirping_ = scheduler.every(chirpLook, [this, answer, end, &scheduler] {
    if (chirp_ && chirp_->running() && scheduler.awakeTime() < end) return;
    answer(saying("That was the test, at the volume that is set now.\n"));
  });
}

Reply TriggerCommands::schedule(const Request& request) {
  if (request.target == "add") return addTime(request.value);
  if (request.target != "list") return changeTime(request);
  return saying(request.json ? scheduleJson(facts()) : scheduleText(facts()));
}

Reply TriggerCommands::addTime(const std::string& clockAndDays) {
  const auto gap = std::min(clockAndDays.find(' '), clockAndDays.size());
  const auto clock = readClock(clockAndDays.substr(0, gap));
  if (!clock) return failing("A time is hours and minutes: 09:00");
  const auto days = readDays(std::string_view(clockAndDays).substr(gap));
  if (!days) return failing("Days are mon, tue, wed, thu, fri, sat, sun, weekdays, weekend, daily");
  if (days->empty()) return failing("Choose at least one day.");
  auto times = triggers_.schedule().times();
  times.push_back({.id = triggers_.newId(),
                   .weekdays = *days,
                   .hour = clock->first,
                   .minute = clock->second,
                   .isOn = true});
  if (!triggers_.schedule().setTimes(std::move(times))) return notStored();
  return saying(scheduleText(facts()));
}

Reply TriggerCommands::changeTime(const Request& request) {
  auto times = triggers_.schedule().times();
  const auto number = typedNumber(request.value);
  if (!number || *number < 1 || *number > static_cast<std::int64_t>(times.size())) {
    return failing("There is no such time. \"brindle schedule\" shows their numbers.");
  }
  const auto chosen = times.begin() + (*number - 1);
  if (request.target == "remove") {
    times.erase(chosen);
  } else {
    chosen->isOn = request.target == "on";
  }
  if (!triggers_.schedule().setTimes(std::move(times))) return notStored();
  return saying(scheduleText(facts()));
}

Reply TriggerCommands::idle(const Request& request) {
  if (request.target.empty()) return saying(idleText(facts()));
  const auto minutes =
      request.target == "off" ? std::optional<std::int64_t>(0) : typedNumber(request.target);
  if (!minutes || *minutes < 0 || *minutes > IdleCheckIn::longestMinutes) {
    return failing("Minutes are 1 to " + std::to_string(IdleCheckIn::longestMinutes) + ", or off.");
  }
  if (!triggers_.idle().setMinutes(*minutes)) return notStored();
  return saying(idleText(facts()));
}

Reply TriggerCommands::unlocks(const Request& request) {
  UnlockLog& log = triggers_.unlockLog();
  const bool own = request.target == "own" || log.includeOwn();
  return saying(request.json ? unlockLogJson(log.entries(), own)
                             : unlockLogText(log.entries(), triggers_.services().calendar, own));
}

}  // namespace brindle
