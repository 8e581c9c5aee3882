#include "core/saved_state_json.h"

#include <gmock/gmock.h>

#include <fstream>

namespace brindle {
namespace {

using testing::ElementsAre;

std::string golden(const std::string& name) {
  std::ifstream in(std::string(BRINDLE_TEST_DATA) + "/" + name + ".json");
  return {std::istreambuf_iterator<char>(in), {}};
}

std::string written(const SavedState& state) { return SavedStateWriter().write(state) + "\n"; }

TEST(SavedStateJsonTest, TheCurrentDocumentIsWrittenAsItWasReadAndAnOldOneAnew) {
  const auto read = readSavedState(golden("current"));
  ASSERT_TRUE(read);
  EXPECT_TRUE(read->reading.complete());
  const SavedState& state = read->state;
  EXPECT_EQ(written(state), golden("current"));
  EXPECT_EQ(state.armedAtMonotonicNs, std::numeric_limits<std::uint64_t>::max());
  EXPECT_EQ(state.armedBy->rawValue(), "schedule");
  EXPECT_EQ(state.updateInstall,
            R"({"version": "2.0", "size":12345678901234567890123, "x":[1.50, "}\""]})");
  const UnlockEvent& event = *state.events.at(0);
  EXPECT_EQ(event.vaultPhotos.at(2).kind, UnlockEvent::VaultPhoto::Kind::wrongPassword);
  EXPECT_EQ(event.location->place, "Köpenick \"am See\"");
  EXPECT_EQ(event.location->lat, 52.520008);
  EXPECT_EQ(event.photoProblem, PhotoProblem::dark);

  const auto old = readSavedState(golden("old"));
  ASSERT_TRUE(old);
  EXPECT_TRUE(old->reading.complete());
  EXPECT_EQ(written(old->state), golden("old_written"));
}

TEST(SavedStateJsonTest, DamageCostsOnlyTheDamagedFieldOrEvent) {
  const auto read = readSavedState(golden("damaged"));
  ASSERT_TRUE(read);
  EXPECT_EQ(read->reading.skippedEvents, 3u);
  EXPECT_THAT(read->reading.unreadableFields,
              ElementsAre("armedAt", "cameraOff", "armedBy", "armedAtMonotonicNs", "armedAtBoot"));
  EXPECT_EQ(read->reading.armedByProblem, "Unknown arm source thursday");
  const SavedState& state = read->state;
  EXPECT_EQ(state.events.size(), 2u);
  EXPECT_FALSE(state.armedAt || state.armedBy || state.armedAtMonotonicNs || state.armedAtBoot ||
               state.updateInstall);
  EXPECT_TRUE(state.cameraOff.empty());
}

TEST(SavedStateJsonTest, ADocumentIsAStateByItsKeys) {
  const std::string deep(100'000, '[');
  const std::string deepEvent =
      R"({"events":[)" + std::string(200, '[') + std::string(200, ']') + "]}";
  const auto expectRefused = [](std::string_view text, std::string_view reason) {
    const auto read = readSavedState(text);
    EXPECT_EQ(read ? "" : reasonText(read.error()), reason) << text.substr(0, 60);
  };
  using namespace std::string_view_literals;
  for (const auto text :
       {""sv, "{"sv, R"({"events":[]} x)"sv, R"({"events":[],})"sv, "{\"events\":[]}\0"sv,
        "{\"events\":[],\"x\":\"\xff\"}"sv, "{\"events\":[],\"x\":\"\xed\xa0\x80\"}"sv,
        R"({"events":[],"x":"\ud800"})"sv, std::string_view(deep), std::string_view(deepEvent)}) {
    expectRefused(text, "is not JSON");
  }
  for (const char* text : {"[]", R"([{"events":[]}])", "7", "\"events\"", "{}",
                           R"({"x":{"events":[]},"y":["\u0061",1.5,{"a":"b"}]})"}) {
    expectRefused(text, "is not a state");
  }
  for (const char* text : {" {\"ev\\u0065nts\" : null }\n", R"({"armedAt":null})",
                           R"({"x":{"events":7},"updateInstall":null})"}) {
    const auto read = readSavedState(text);
    ASSERT_TRUE(read) << text;
    EXPECT_TRUE(read->reading.complete() && sameContent(read->state, {})) << text;
  }
}

TEST(SavedStateJsonTest, TopLevelFieldsFailOneByOne) {
  const std::string id = R"("00000000-0000-4000-8000-00000000000A")";
  const std::pair<std::string, std::string> rows[] = {
      {R"("events":5)", "events"},
      {R"("events":[],"events":{})", "events"},
      {R"("armedAt":"2026-02-30T00:00:00Z")", "armedAt"},
      {R"("armedAt":5,"armedAt":"2026-02-28T00:00:00Z")", ""},
      {R"("armedBy":{"by":"owner","occurrence":5})", ""},
      {R"("armedBy":{"by":"iphone-away"})", ""},
      {R"("armedBy":{"by":"remote"})", ""},
      {R"("armedBy":{"by":"schedule"})", "armedBy"},
      {R"("armedBy":{"by":"schedule","occurrence":{"windowID":)" + id + "}}", "armedBy"},
      {R"("armedAtMonotonicNs":3.0)", ""},
      {R"("armedAtMonotonicNs":18446744073709551616)", "armedAtMonotonicNs"},
      {R"("cameraOff":[{"id":)" + id + R"(,"at":"1970-01-01T00:00:00Z"}])", "cameraOff"},
      {R"("updateInstall":7)", ""},
  };
  for (const auto& [json, field] : rows) {
    const auto read = readSavedState("{" + json + "}");
    ASSERT_TRUE(read) << json;
    const auto& names = read->reading.unreadableFields;
    EXPECT_EQ(names, field.empty() ? std::vector<std::string>{} : std::vector{field}) << json;
    const auto again = readSavedState(written(read->state));
    ASSERT_TRUE(again) << json;
    EXPECT_TRUE(again->reading.complete() && sameContent(again->state, read->state)) << json;
  }
}

TEST(SavedStateJsonTest, WhatCannotBeWrittenNeverSpoilsTheDocument) {
  SavedState state;
  UnlockEvent event;
  event.trigger.emplace("tripwire", "a\xff\xfe b\n\x01");
  event.location = UnlockLocation{std::numeric_limits<double>::quiet_NaN(), 1, 1, {}, {}};
  state.events.push_back(std::make_shared<UnlockEvent>(event));
  state.updateInstall = "{half";
  const auto read = readSavedState(written(state));
  ASSERT_TRUE(read);
  ASSERT_TRUE(read->reading.complete());
  EXPECT_EQ(read->state.events.at(0)->trigger->name, "a\uFFFD b\n\x01");
  EXPECT_FALSE(read->state.updateInstall || read->state.events.at(0)->location);
}

}  // namespace
}  // namespace brindle
