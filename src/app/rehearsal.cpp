#include "app/rehearsal.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdio>

#include "platform/posix/descriptor.h"
#include "platform/posix/terminal_sink.h"

namespace brindle {
namespace {

constexpr std::string_view rightPin = "730164";
constexpr std::string_view wrongPin = "918273";

/// Frames that the build rendered; those of an installed program, or of its bundle, where there are
/// some.
std::vector<Bytes> sampleFrames(Files& files) {
  std::vector<Bytes> frames;
  for (const std::string& folder :
       {ownProgram("../share/brindle/sample_frames"), ownProgram("../Resources/sample_frames"),
        std::string(BRINDLE_SAMPLE_FRAMES)}) {
    const auto names = files.list(folder);
    if (!names) continue;
    for (const auto& name : *names) {
      if (!name.starts_with("day-")) continue;
      if (auto frame = files.read(joinPath(folder, name))) frames.push_back(std::move(*frame));
    }
    if (!frames.empty()) break;
  }
  return frames;
}

}  // namespace

Rehearsal::Rehearsal(MemoryServices& devices, BrindleMacApp& app, Print print)
    : devices_(devices), app_(app), print_(std::move(print)) {}

void Rehearsal::play(std::function<void(bool)> over) {
  over_ = std::move(over);
  startedAt_ = devices_.scheduler.awakeTime();
  steps_ = story();
  limit_ = devices_.scheduler.after(limit, [this] {
    say("not finished: waited for \"" + steps_[at_].what + "\"");
    finish(false);
  });
  // Some effects are told by no change of the store: a reply, a file.
  poll_ = devices_.scheduler.every(std::chrono::milliseconds(20), [this] { look(); });
  begin();
}

std::vector<Rehearsal::Step> Rehearsal::story() {
  std::vector<Step> all;
  for (auto part : {settingUp(), unlocking(), proving()}) {
    all.insert(all.end(), part.begin(), part.end());
  }
  return all;
}

std::vector<Rehearsal::Step> Rehearsal::settingUp() {
  return {{"a PIN is chosen",
           [this] {
             app_.secrets().savePin(
                 SecretText(rightPin), SecretText(rightPin), nullptr,
                 [this](PinSaved saved) { pinSaved_ = saved == PinSaved::saved; });
           },
           [this] { return pinSaved_ && app_.store().pinIsSet(); }},
          {"the guard is turned on", [this] { turnOn(); },
           [this] { return app_.store().armed() && recorded_; },
           [this] { return app_.vault().root() + "/state.json"; }}};
}

std::vector<Rehearsal::Step> Rehearsal::unlocking() {
  NightjarStore& store = app_.store();
  return {{"the screen is locked", [this] { devices_.screen.setLocked(true); },
           [this] { return devices_.screen.screenLocked(); }},
          {"somebody unlocks it", [this] { devices_.screen.setLocked(false); },
           [this] { return unlock() != nullptr; },
           [this] { return unlock()->id.upper() + ", the guarded window asks who it was"; }},
          {"a watched file is opened and counts with the unlock",
           [&store] {
             store.opened({std::string(trigger_kind::watchedFile), "letters.txt"});
           },
           [this] { return unlock() && unlock()->watchedOpenings == 1; },
           [this] { return "\"" + unlock()->alsoOpened.front().name + "\""; }},
          {"the unlock is photographed", [] {},
           [this] {
             return unlock() && !unlock()->photoPending && !unlock()->photoFiles.empty() &&
                    !unlock()->openingPhotos.empty();
           },
           [this] { return filesOf(unlock()); }}};
}

std::vector<Rehearsal::Step> Rehearsal::proving() {
  NightjarStore& store = app_.store();
  return {{"a wrong PIN is entered", [this] { tryPin(wrongPin); },
           [this] { return answer_ && answer_->outcome == GateAnswer::Outcome::wrong; },
           [this] { return answer_->message; }},
          {"the wrong try is photographed", [] {},
           [this] { return unlock() && unlock()->wrongPINs == 1 && filesNow() > filesBefore_; },
           [this] { return filesOf(unlock()); }},
          {"the right PIN is entered", [this] { tryPin(rightPin); },
           [this, &store] { return answer_ && answer_->proof && !store.pendingConfirm(); }},
          {"the unlock is gone from the history, the wrong try stays", [] {},
           [this] { return !unlock() && attempt() && app_.store().events().size() == 1; },
           [this] { return filesOf(attempt()); }},
          {"everything is recorded",
           [this] {
             recorded_ = false;
             app_.store().whenRecorded(lifetime_.guard([this] { recorded_ = true; }));
           },
           [this] { return recorded_; }}};
}

void Rehearsal::begin() {
  if (at_ == steps_.size()) return finish(true);
  steps_[at_].act();
}

void Rehearsal::look() {
  while (!finished_ && at_ < steps_.size() && steps_[at_].happened()) {
    const Step& step = steps_[at_];
    const std::string detail = step.detail ? step.detail() : "";
    say(detail.empty() ? step.what : step.what + ": " + detail);
    ++at_;
    begin();
  }
}

void Rehearsal::say(const std::string& text) {
  const double seconds = secondsOf(devices_.scheduler.awakeTime() - startedAt_);
  print_(fmt::format("{:6.2f} s  {}", seconds, text));
}

void Rehearsal::finish(bool asExpected) {
  if (std::exchange(finished_, true)) return;
  poll_.cancel();
  limit_.cancel();
  sitting_.reset();
  app_.store().prepareToQuit(lifetime_.guard([this, asExpected](bool saved) {
    listFiles();
    over_(asExpected && saved);
  }));
}

void Rehearsal::listFiles() {
  print_("What is on disk now:");
  print_("  " + app_.vault().root() + "/state.json");
  for (const auto& name : app_.vault().photoNames()) print_("  " + app_.vault().photoPath(name));
}

void Rehearsal::turnOn() {
  app_.store().turnOn(ArmSource::owner(), lifetime_.guard([this](TurnOnOutcome) {
    app_.store().whenRecorded(lifetime_.guard([this] { recorded_ = true; }));
  }));
}

void Rehearsal::tryPin(std::string_view pin) {
  answer_.reset();
  filesBefore_ = filesNow();
  if (!sitting_) sitting_ = app_.gate().open(OwnerPurpose::confirmUnlock);
  sitting_->tryPin(SecretText(pin), [this](GateAnswer answer) { answer_ = std::move(answer); });
}

EventRef Rehearsal::unlock() const {
  for (const auto& event : app_.store().events()) {
    if (!event->attemptOnly && !event->trigger) return event;
  }
  return nullptr;
}

EventRef Rehearsal::attempt() const {
  for (const auto& event : app_.store().events()) {
    if (event->attemptOnly) return event;
  }
  return nullptr;
}

std::size_t Rehearsal::filesNow() const { return unlock() ? unlock()->files().size() : 0; }

std::string Rehearsal::filesOf(const EventRef& event) const {
  std::string text;
  for (const auto& name : event->files()) text += "\n            " + app_.vault().photoPath(name);
  return fmt::format("{} files{}", event->files().size(), text);
}

int runRehearsal() {
  const char* base = getenv("TMPDIR");
  std::string folder =
      std::string(base && *base == '/' ? base : "/tmp") + "/brindle-rehearsal-XXXXXX";
  if (!mkdtemp(folder.data())) {
    std::fputs("brindle: no private folder could be made for the rehearsal\n", stderr);
    return 1;
  }
  const AppPaths paths = AppPaths::below(folder);
  // The lines belong to this rehearsal, so they lie with its files and not in the journal.
  const Descriptor logFile(
      open((folder + "/log.txt").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
  TerminalSink log(logFile.get());
  MemoryServices devices(paths, log);
  auto frames = sampleFrames(devices.files);
  if (frames.empty()) {
    std::fputs("brindle: the sample frames of the rehearsal are missing\n", stderr);
    return 1;
  }
  devices.camera.setFrames(std::move(frames));
  int exitCode = 1;
  {
    BrindleMacApp app(devices.services(), paths.data);
    Rehearsal rehearsal(devices, app,
                        [](const std::string& line) { std::printf("%s\n", line.c_str()); });
    std::printf("A rehearsal on devices in memory; its files lie in %s\n", folder.c_str());
    app.start([&] {
      rehearsal.play([&](bool asExpected) {
        exitCode = asExpected ? 0 : 1;
        devices.scheduler.stop();
      });
    });
    devices.scheduler.run();
  }
  std::printf("%s\n", exitCode == 0 ? "The rehearsal went as it should." : "The rehearsal FAILED.");
  return exitCode;
}

}  // namespace brindle
