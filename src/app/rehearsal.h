#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "app/brindle_app.h"
#include "app/memory_services.h"

namespace brindle {

/// Plays the whole story once, in real time: real logic, real files and real derivations, on
/// devices in memory. Prints a line for each thing that happened, at the time it happened, and
/// where each file lies. Main thread only.
class Rehearsal {
 public:
  /// Nothing may take longer than this.
  static constexpr Duration limit = std::chrono::seconds(20);
  using Print = std::function<void(const std::string& line)>;

  Rehearsal(MemoryServices& devices, BrindleMacApp& app, Print print);
  /// `over` from the main loop.
  void play(std::function<void(bool asExpected)> over);

 private:
  /// One step of the story: what is done, and when it has had its effect.
  struct Step {
    std::string what;
    std::function<void()> act;
    std::function<bool()> happened;
    std::function<std::string()> detail = {};
  };
  std::vector<Step> story();
  std::vector<Step> settingUp();
  std::vector<Step> unlocking();
  std::vector<Step> proving();

  void begin();
  void look();
  void say(const std::string& text);
  void finish(bool asExpected);
  void listFiles();

  void turnOn();
  void tryPin(std::string_view pin);
  EventRef unlock() const;
  EventRef attempt() const;
  std::size_t filesNow() const;
  std::string filesOf(const EventRef& event) const;

  MemoryServices& devices_;
  BrindleMacApp& app_;
  Print print_;
  std::function<void(bool)> over_;
  std::vector<Step> steps_;
  std::size_t at_ = 0;
  bool finished_ = false;
  Duration startedAt_{0};

  std::unique_ptr<GateSitting> sitting_;
  std::optional<GateAnswer> answer_;
  std::size_t filesBefore_ = 0;
  bool pinSaved_ = false;
  bool recorded_ = false;
  Subscription changes_;
  Timer poll_;
  Timer limit_;
  Lifetime lifetime_;
};

/// Everything of `brindle rehearse`: a private folder, the devices, the story. The exit code.
int runRehearsal();

}  // namespace brindle
