#include "core/unlock_event.h"

#include <gtest/gtest.h>

namespace brindle {
namespace {

const Uuid id = *Uuid::parse("5A3C0E1B-7D2F-4C11-9E0A-2B3C4D5E6F70");

TEST(UnlockEventTest, OnlyNamesThatStayInTheirFolderArePlain) {
  for (const char* plain : {"a.jpg", ".hidden", "with space", "a.b.c", "ä"}) {
    EXPECT_TRUE(isPlainFileName(plain)) << plain;
  }
  using namespace std::string_view_literals;
  for (const auto other :
       {""sv, "."sv, ".."sv, "../a"sv, "a/b"sv, "/etc"sv, "a..jpg"sv, "a\0.jpg"sv}) {
    EXPECT_FALSE(isPlainFileName(other)) << other;
  }
}

TEST(UnlockEventTest, PhotoNumbersGoOnAfterThoseTheEventHas) {
  EXPECT_EQ(photoFileName(id, 0), "5A3C0E1B-7D2F-4C11-9E0A-2B3C4D5E6F70-0.jpg");
  const std::string lower = "5a3c0e1b-7d2f-4c11-9e0a-2b3c4d5e6f70";
  const std::tuple<std::vector<FileName>, std::vector<FileName>, std::size_t> rows[] = {
      {{}, {}, 0},
      {{photoFileName(id, 0), photoFileName(id, 1)}, {}, 2},
      {{photoFileName(id, 0)}, {photoFileName(id, 4)}, 5},
      {{lower + "-7.jpg"}, {}, 8},
      {{"one.jpg", "two.jpg", photoFileName(Uuid{}, 9)}, {}, 3},
      {{lower + "-.jpg", lower + "-x.jpg", lower + "-99999999999.jpg", lower + "-5.mov"}, {}, 4},
  };
  for (const auto& [photos, openings, next] : rows) {
    UnlockEvent event;
    event.id = id;
    event.photoFiles = photos;
    event.openingPhotos = openings;
    EXPECT_EQ(nextPhotoIndex(event), next) << testing::PrintToString(photos);
  }
}

TEST(UnlockEventTest, NamesEachOfItsFilesOnce) {
  UnlockEvent event;
  event.photoFiles = {"a.jpg", "b.jpg", "a.jpg"};
  event.vaultPhotos = {{"b.jpg", {}, {}, {}, {}}, {"v.jpg", {}, {}, {}, {}}};
  event.videoFile = "c.mov";
  event.openingPhotos = {"d.jpg"};
  event.openingClips = {"c.mov", "e.mov"};
  EXPECT_EQ(event.files(),
            (std::vector<FileName>{"a.jpg", "b.jpg", "v.jpg", "c.mov", "d.jpg", "e.mov"}));
}

}  // namespace
}  // namespace brindle
