#include <gtest/gtest.h>

#include <bit>
#include <cmath>

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

TEST(EventJsonTest, AnOldEventReadsAsDealtWith) {
  const auto event = readEvent("{" + bare + "}");
  ASSERT_TRUE(event);
  EXPECT_EQ(*event, bareEvent());
  EXPECT_TRUE(event->resolved);
}

TEST(EventJsonTest, EachFieldIsAsForgivingAsItsUseAllows) {
  struct Row {
    const char* json;
    void (*change)(UnlockEvent&);  // none: the event is unreadable
  };
  const auto same = [](UnlockEvent&) {};
  const Row rows[] = {
      // strict
      {R"("wrongPINs":3.0)", [](UnlockEvent& e) { e.wrongPINs = 3; }},
      {R"("wrongPINs":3e0)", [](UnlockEvent& e) { e.wrongPINs = 3; }},
      {R"("wrongPINs":9223372036854775807)",
       [](UnlockEvent& e) { e.wrongPINs = std::numeric_limits<std::int64_t>::max(); }},
      {R"("wrongPINs":"x","wrongPINs":3)", [](UnlockEvent& e) { e.wrongPINs = 3; }},
      {R"("wrongPINs":null)", same},
      {R"("wrongPINs":1.5)", nullptr},
      {R"("wrongPINs":9223372036854775808)", nullptr},
      {R"("wrongPINs":1e400)", nullptr},
      {R"("wrongPINs":true)", nullptr},
      {R"("wrongAnswers":"2")", nullptr},
      {R"("alert":"queued")", [](UnlockEvent& e) { e.alert = AlertState::queued; }},
      {R"("alert":null)", same},
      {R"("alert":7)", nullptr},
      {R"("alert":"Queued")", nullptr},
      {R"("vault":"sent")", nullptr},
      {R"("vaultPhotos":{})", nullptr},
      {R"("vaultPhotos":[{"file":"a"}])", nullptr},
      {R"("resolved":false)", [](UnlockEvent& e) { e.resolved = false; }},
      {R"("resolved":null)", same},
      {R"("resolved":0)", nullptr},
      {R"("videoFile":[])", nullptr},
      {R"("id":7)", nullptr},
      {R"("date":"2026-03-29T02:30:00.5Z")", nullptr},
      {R"("photoFiles":null)", nullptr},
      {R"("photoFiles":["a",1])", nullptr},
      // lenient
      {R"("reason":"dark")", [](UnlockEvent& e) { e.photoProblem = PhotoProblem::dark; }},
      {R"("reason":"camera-denied")", same},
      {R"("photoPending":"yes")", same},
      {R"("location":{"lat":1,"lon":2.5,"accuracy":3})", same},
      {R"("location":{"lat":1,"lon":2.5,"accuracy":3,"at":"1970-01-01T00:00:00Z","place":4})",
       [](UnlockEvent& e) {
         e.location = UnlockLocation{1, 2.5, 3, {}, std::nullopt};
       }},
      {R"("trigger":{"kind":"watched-app"})", same},
      {R"("trigger":{"kind":"of tomorrow","name":"a\u0000\"\ud83d\ude00"})",
       [](UnlockEvent& e) {
         e.trigger = Trigger{"of tomorrow", std::string("a\0\"\xF0\x9F\x98\x80", 7)};
       }},
      {R"("iPhone":"far")", same},
      {R"("iPhone":"unsure")", [](UnlockEvent& e) { e.iPhone = IPhoneSeen::unsure; }},
      {R"("watchedOpenings":2.5)", same},
      {R"("attemptOnly":1)", same},
      {R"("alsoOpened":[{"kind":"a","name":"b"},5])", same},
      {R"("openingPhotos":"a")", same},
      {R"("openingClips":["a"])", [](UnlockEvent& e) { e.openingClips = {"a"}; }},
      // neither
      {R"("unknown":[[[{"alert":7}]]])", same},
      {R"("alert":7,"alert":"sent")", [](UnlockEvent& e) { e.alert = AlertState::sent; }},
      {R"("alert":"sent","unknown":1,"alert":7)", nullptr},
      {R"("\u0061lert":"sent")", [](UnlockEvent& e) { e.alert = AlertState::sent; }},
  };
  for (const Row& row : rows) {
    const auto event = readWith(row.json);
    ASSERT_EQ(event.has_value(), row.change != nullptr) << row.json;
    if (!event) continue;
    UnlockEvent expected = bareEvent();
    row.change(expected);
    EXPECT_EQ(*event, expected) << row.json;
    EXPECT_EQ(readEvent(eventJson(*event)), event) << row.json;
  }
}

TEST(EventJsonTest, NoEventWithoutItsRequiredFields) {
  for (const char* json :
       {"{}", "[]", "null", "7", R"({"id":"5A3C0E1B-7D2F-4C11-9E0A-2B3C4D5E6F70"})"}) {
    EXPECT_FALSE(readEvent(json)) << json;
  }
}

TEST(EventJsonTest, NumbersOfAPlaceSurviveToTheLastBit) {
  std::uint64_t bits = 0x4049'0fdb'5444'2d18;
  for (int i = 0; i < 2000; ++i) {
    bits = bits * 6364136223846793005 + 1442695040888963407;
    const double lat = std::bit_cast<double>(bits);
    if (!std::isfinite(lat)) continue;
    UnlockEvent event = bareEvent();
    event.location = UnlockLocation{lat, 1.5, 0, event.date, std::nullopt};
    ASSERT_EQ(readEvent(eventJson(event)), event) << eventJson(event);
  }
  UnlockEvent event = bareEvent();
  event.location = UnlockLocation{-0.0, 0, 0, event.date, std::nullopt};
  EXPECT_TRUE(std::signbit(readEvent(eventJson(event))->location->lat));
  event.location = UnlockLocation{1.5, 13.404954, 2, event.date, std::nullopt};
  EXPECT_NE(eventJson(event).find(R"("lat":1.5,"lon":13.404954,"accuracy":2,)"), std::string::npos);
}

}  // namespace
}  // namespace brindle
