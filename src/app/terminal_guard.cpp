#include "app/terminal_guard.h"

#include <poll.h>
#include <unistd.h>

#include <array>
#include <cstdio>

namespace brindle {
namespace {

void show(std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stdout);
  std::fflush(stdout);
}

}  // namespace

TerminalGuard::TerminalGuard(MainLoop& scheduler, NightjarStore& store, OwnerGate& gate,
                             AlarmEngine& alarm, int input)
    : scheduler_(scheduler),
      store_(store),
      gate_(gate),
      alarm_(alarm),
      input_(input),
      terminal_(isatty(input) == 1),
      changes_(store.onChange([this] { follow(); })),
      alarmChanges_(alarm.onChange([this] { followAlarm(); })) {
  follow();
  followAlarm();
}

/// What awaits its answer asks here as well; an alarm may sound on after that, or without it.
void TerminalGuard::followAlarm() {
  const bool sounding = alarm_.sounding().has_value();
  if (sounding == std::exchange(alarmTold_, sounding) || !sounding) return;
  show("\nThe alarm sounds (" + *alarm_.sounding() + "). Stop it: brindle alarm stop\n");
}

void TerminalGuard::follow() {
  const auto pending = store_.pendingConfirm();
  if (pending == asked_) return;
  if (asked_) close();
  asked_ = pending;
  if (asked_) open();
}

void TerminalGuard::open() {
  show("\nThis Mac is guarded.\n");
  if (!terminal_) return show("Prove that it was you: brindle confirm\n");
  sitting_ = gate_.open(OwnerPurpose::confirmUnlock);
  show(std::string(sitting_->heading()) + "\n");
  quiet_ = std::make_unique<EchoOff>(input_);
  watch_ = scheduler_.watch(input_, POLLIN, [this](std::uint32_t) { readable(); });
  prompt();
}

void TerminalGuard::close() {
  watch_.end();
  quiet_.reset();
  sitting_.reset();
  answering_ = trying_ = false;
}

void TerminalGuard::prompt() {
  if (answering_) return show(sitting_->question() + " ");
  show(answerOffered() ? "Brindle PIN (empty: answer the secret question): " : "Brindle PIN: ");
}

bool TerminalGuard::answerOffered() const {
  return sitting_->answerOpen() && !sitting_->question().empty();
}

/// A terminal hands over a line at a time.
void TerminalGuard::readable() {
  std::array<char, 4096> bytes;
  const ssize_t got = read(input_, bytes.data(), bytes.size());
  if (got <= 0) {
    // The terminal is gone; the socket is still there.
    watch_.end();
    return;
  }
  std::string_view line(bytes.data(), static_cast<std::size_t>(got));
  line = line.substr(0, line.find('\n'));
  SecretText text(line);
  wipe(bytes.data(), bytes.size());
  if (sitting_ && !trying_) entered(std::move(text));
}

void TerminalGuard::entered(SecretText line) {
  if (line.empty()) {
    answering_ = !answering_ && answerOffered();
    return prompt();
  }
  trying_ = true;
  auto done = [this](GateAnswer answer) { answered(std::move(answer)); };
  if (std::exchange(answering_, false)) {
    sitting_->tryAnswer(std::move(line), std::move(done));
  } else {
    sitting_->tryPin(std::move(line), std::move(done));
  }
}

void TerminalGuard::answered(GateAnswer answer) {
  trying_ = false;
  // After a right one the store's change closes this. Closing alone says nothing of a proof: a
  // newer occurrence does it too.
  if (answer.outcome == GateAnswer::Outcome::right) return show("Confirmed.\n");
  show(answer.message + "\n");
  prompt();
}

}  // namespace brindle
