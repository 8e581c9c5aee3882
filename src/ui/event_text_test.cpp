#include "ui/event_text.h"

#include <gtest/gtest.h>

namespace brindle {
namespace {

UnlockEvent eventOf(std::optional<Trigger> trigger) {
  UnlockEvent event;
  event.trigger = std::move(trigger);
  return event;
}

TEST(EventTextTest, TitleSaysWhatHappened) {
  const std::pair<std::optional<Trigger>, const char*> rows[] = {
      {std::nullopt, "Unlocked"},
      {Trigger{"watched-file", "a & b.txt"}, "“a & b.txt” was opened"},
      {Trigger{"tripwire", "taxes"}, "The tripwire “taxes” was opened"},
      {Trigger{"lid-closed", ""}, "The lid was closed"},
      {Trigger{"power-unplugged", ""}, "The adapter was unplugged"},
      {Trigger{"idle-return", ""}, "Touched after being left alone"},
      {Trigger{"a kind of a later release", "x"}, "“x” was opened"},
  };
  for (const auto& [trigger, title] : rows) EXPECT_EQ(eventTitle(eventOf(trigger)), title);

  UnlockEvent attempt;
  attempt.attemptOnly = true;
  attempt.wrongAnswers = 2;
  EXPECT_EQ(eventTitle(attempt), "Wrong answer");
  attempt.wrongPINs = 1;
  EXPECT_EQ(eventTitle(attempt), "Wrong PIN and wrong answer");
}

TEST(EventTextTest, DetailsTellTriesOpeningsAndMissingPhotos) {
  UnlockEvent event;
  event.wrongPINs = 3;
  event.alsoOpened = {{"watched-app", "Mail"}};
  event.photoProblem = PhotoProblem::dark;
  event.resolved = false;
  EXPECT_EQ(eventDetails(event),
            QStringList({"Wrong PINs: 3", "“Mail” was opened",
                         "The photo is dark: the camera may have been covered.",
                         "Nobody has confirmed this yet."}));
  EXPECT_TRUE(eventDetails(UnlockEvent{}).isEmpty());
}

}  // namespace
}  // namespace brindle
