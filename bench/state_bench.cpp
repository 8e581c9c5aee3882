// state_bench [ROUNDS]: reads and writes a history beside nlohmann-json in one run and prints the
// ratios. The two take turns, so that a busy machine slows both; the medians are compared.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <nlohmann/json.hpp>

#include "bench_tools.h"
#include "core/saved_state_json.h"

namespace brindle {
namespace {

Uuid numbered(std::size_t n) {
  Uuid id;
  for (std::size_t i = 0; i < id.bytes.size(); ++i)
    id.bytes[i] = static_cast<std::uint8_t>(n >> (i % 4 * 8) ^ i * 37);
  return id;
}

UnlockEvent sampleEvent(std::size_t n) {
  UnlockEvent event;
  event.id = numbered(n);
  event.date = WallTime(std::chrono::seconds(1'760'000'000 + 977 * n));
  event.resolved = n % 3 == 0;
  event.alert = AlertState::sent;
  for (std::size_t i = 0; i < 4; ++i) {
    event.photoFiles.push_back(photoFileName(event.id, i));
    if (i < 2) {
      event.vaultPhotos.push_back({event.photoFiles.back(), numbered(n + i), event.date, {}, {}});
    }
  }
  if (n % 2 == 0)
    event.location = UnlockLocation{52.520008 + 1e-7 * static_cast<double>(n), 13.404954, 35.5,
                                    event.date, "Köpenick"};
  if (n % 4 == 0) event.trigger = Trigger{"watched-file", "Steuererklärung 2025.pdf"};
  if (n % 5 == 0) event.alsoOpened = {{"watched-app", "Mail"}, {"tripwire", "passwords.rtf"}};
  return event;
}

SavedState sampleState(std::size_t count) {
  SavedState state;
  state.armedAt = WallTime(std::chrono::seconds(1'760'000'000));
  state.armedBy = ArmSource::owner();
  for (std::size_t n = 0; n < count; ++n)
    state.events.push_back(std::make_shared<UnlockEvent>(sampleEvent(n)));
  return state;
}

/// The medians of both, taking turns.
template <class A, class B>
std::pair<double, double> sideBySide(
    int rounds, A ours, B theirs, const std::function<void()>& before = [] {}) {
  std::vector<double> a, b;
  for (int i = 0; i < rounds; ++i) {
    before();
    a.push_back(milliseconds(ours));
    b.push_back(milliseconds(theirs));
  }
  return {median(a), median(b)};
}

void print(const char* what, std::pair<double, double> times) {
  std::printf("%-34s %9.2f ms %9.2f ms   %5.2f times as fast\n", what, times.first, times.second,
              times.second / times.first);
}

bool run(std::size_t count, int rounds) {
  const SavedState state = sampleState(count);
  const std::string text = SavedStateWriter().write(state);
  auto tree = nlohmann::json::parse(text);
  std::printf("%zu events, %.1f MB; ours, nlohmann-json\n", count,
              static_cast<double>(text.size()) / 1e6);
  std::size_t sink = 0;
  std::optional<Result<ReadState, NotAState>> records;
  print("read, and let go of again",
        sideBySide(
            rounds, [&] { sink += readSavedState(text)->state.events.size(); },
            [&] { sink += nlohmann::json::parse(text).size(); }));
  print("read only (records / tree)", sideBySide(
                                          rounds, [&] { records = readSavedState(text); },
                                          [&] { tree = nlohmann::json::parse(text); },
                                          [&] {
                                            records.reset();
                                            tree = nullptr;
                                          }));
  tree = nlohmann::json::parse(text);
  print("first write", sideBySide(
                           rounds, [&] { sink += SavedStateWriter().write(state).size(); },
                           [&] { sink += tree.dump().size(); }));
  SavedStateWriter writer;
  writer.write(state);
  SavedState changed = state;
  const double again = milliseconds([&] {
    changed.events[count / 2] = std::make_shared<UnlockEvent>(sampleEvent(1));
    sink += writer.write(changed).size();
  });
  std::printf("%-34s %9.2f ms\n", "write after one change", again);
  const auto read = readSavedState(text);
  return sink > 0 && read && read->reading.complete() && sameContent(read->state, state);
}

}  // namespace
}  // namespace brindle

int main(int argc, char** argv) {
  const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 15;
  const bool good = brindle::run(1'000, rounds) && brindle::run(10'000, rounds) &&
                    brindle::run(100'000, std::max(1, rounds / 5));
  return good ? 0 : 1;
}
