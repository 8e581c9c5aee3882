#include "capture/photo_brightness.h"

#include <gtest/gtest.h>

namespace brindle {
namespace {

using Levels = std::vector<std::optional<double>>;

CapturedPhoto shotOf(std::optional<double> brightness) {
  return {bytesOf("x"), brightness, WallTime{}};
}

TEST(PhotoBrightnessTest, ChoosesUsableShotsUnderTheFlashFirst) {
  const struct {
    const char* why;
    Levels shots;
    std::optional<std::size_t> mark;
    std::size_t wanted, usable;
    Levels chosen;
  } rows[] = {
      {"usable first, in order taken", {.01, .5, .02, .6}, {}, 3, 2, {.5, .6, .01}},
      {"no more than wanted", {.5, .6, .7}, {}, 2, 3, {.5, .6}},
      {"only those under the flash", {.5, .2, .6, .01}, 2, 4, 1, {.6, .01}},
      {"the flash did not help", {.5, .2, .01}, 2, 2, 0, {.5, .2}},
      {"nothing after the flash", {.2, .2}, 2, 2, 0, {.2, .2}},
      {"unmeasurable counts", {.01, {}}, {}, 1, 1, {std::nullopt}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.why);
    ShotList list;
    for (const auto& level : row.shots) list.shots.push_back(shotOf(level));
    list.flashMark = row.mark;
    EXPECT_EQ(list.usable(), row.usable);
    Levels chosen;
    for (const auto& photo : std::move(list).chosen(row.wanted)) chosen.push_back(photo.brightness);
    EXPECT_EQ(chosen, row.chosen);
  }
}

}  // namespace
}  // namespace brindle
