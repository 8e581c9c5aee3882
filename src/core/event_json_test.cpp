#include <gtest/gtest.h>

#include <bit>

#include "core/saved_state_json.h"

namespace brindle {
namespace {

const std::string bare =
    R"("id":"5a3c0e1b-7d2f-4c11-9e0a-2b3c4d5e6f70","date":"2026-03-29T02:30:00+02:00","photoFiles":["../x"])";

/// The event that a document's only element reads as.
std::optional<UnlockEvent> readEvent(const std::string& json) {
  const auto read = readSavedState(R"({"events":[)" + json + "]}");
  EXPECT_TRUE(read.has_value()) << json;
  if (!read) return std::nullopt;
  EXPECT_EQ(read->reading.skippedEvents, read->state.events.empty() ? 1u : 0u);
  if (read->state.events.empty()) return std::nullopt;
  return *read->state.events.front();
}

std::optional<UnlockEvent> readWith(const std::string& more) {
  return readEvent("{" + bare + "," + more + "}");
}

UnlockEvent bareEvent() {
  UnlockEvent event;
  event.id = *Uuid::parse("5A3C0E1B-7D2F-4C11-9E0A-2B3C4D5E6F70");
  event.date = std::chrono::sys_days(std::chrono::year(2026) / 3 / 29) + std::chrono::minutes(30);
  event.photoFiles = {"../x"};
  return event;
}

TEST(EventJsonTest, EachFieldCountsAndIsAsForgivingAsItsUseAllows) {
  using E = UnlockEvent;
  const std::pair<const char*, void (*)(E&)> rows[] = {
      {R"("wrongPINs":3.0)", [](E& e) { e.wrongPINs = 3; }},
      {R"("wrongPINs":9223372036854775807)", [](E& e) { e.wrongPINs = INT64_MAX; }},
      {R"("wrongPINs":"x","wrongPINs":3)", [](E& e) { e.wrongPINs = 3; }},
      {R"("alert":7,"alert":"sent")", [](E& e) { e.alert = AlertState::sent; }},
      {R"("\u0061lert":"sent")", [](E& e) { e.alert = AlertState::sent; }},
      {R"("location":{"lat":1,"lon":2.5,"accuracy":3,"at":"1970-01-01T00:00:00Z","place":4})",
       [](E& e) { e.location.emplace(1, 2.5, 3, WallTime{}, std::nullopt); }},
      {R"("trigger":{"kind":"of tomorrow","name":"a\u0000\"\ud83d\ude00"})",
       [](E& e) { e.trigger.emplace("of tomorrow", std::string("a\0\"\xF0\x9F\x98\x80", 7)); }},
      {R"("iPhone":"unsure")", [](E& e) { e.iPhone = IPhoneSeen::unsure; }},
  };
  const auto expectRead = [](const char* json, const E& expected) {
    const auto event = readWith(json);
    ASSERT_TRUE(event) << json;
    EXPECT_EQ(*event, expected) << json;
    EXPECT_EQ(readEvent(eventJson(*event)), event) << json;
  };
  for (const auto& [json, change] : rows) {
    E expected = bareEvent();
    change(expected);
    expectRead(json, expected);
    EXPECT_NE(expected, bareEvent()) << json;
    EXPECT_NE(std::hash<E>{}(expected), std::hash<E>{}(bareEvent())) << json;
  }
  // Lenient, absent or unknown: as if it were not there.
  for (const char* json :
       {R"("wrongPINs":null)", R"("alert":null)", R"("resolved":null)",
        R"("reason":"camera-denied")", R"("photoPending":"yes")",
        R"("location":{"lat":1,"lon":2.5,"accuracy":3})",
        R"("location":{"lat":1e400,"lon":2,"accuracy":3,"at":"1970-01-01T00:00:00Z"})",
        R"("trigger":{"kind":"watched-app"})", R"("iPhone":"far")", R"("watchedOpenings":2.5)",
        R"("attemptOnly":1)", R"("alsoOpened":[{"kind":"a","name":"b"},5])",
        R"("openingPhotos":"a")", R"("unknown":[[[{"alert":7}]]])"}) {
    expectRead(json, bareEvent());
  }
  // Strict or required: the event is unreadable.
  for (const char* json :
       {R"("wrongPINs":1.5)", R"("wrongPINs":9223372036854775808)", R"("wrongPINs":1e400)",
        R"("wrongPINs":1e19)", R"("wrongPINs":-9223372036854777856)", R"("wrongPINs":true)",
        R"("wrongAnswers":"2")", R"("alert":7)", R"("alert":"Queued")",
        R"("alert":"sent","unknown":1,"alert":7)", R"("vault":"sent")", R"("vaultPhotos":{})",
        R"("vaultPhotos":[{"file":"a"}])", R"("resolved":0)", R"("videoFile":[])", R"("id":7)",
        R"("date":"2026-03-29T02:30:00.5Z")", R"("photoFiles":null)", R"("photoFiles":["a",1])"}) {
    EXPECT_FALSE(readWith(json)) << json;
  }
}

TEST(EventJsonTest, NumbersOfAPlaceSurviveToTheLastBit) {
  UnlockEvent event = bareEvent();
  for (const double lat : {0.1 + 0.2, -0.0, 5e-324, 1.7976931348623157e308, 13.404954}) {
    event.location = UnlockLocation{lat, 1.5, 0, event.date, std::nullopt};
    const auto read = readEvent(eventJson(event));
    ASSERT_TRUE(read && read->location) << eventJson(event);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(read->location->lat), std::bit_cast<std::uint64_t>(lat));
  }
}

}  // namespace
}  // namespace brindle
