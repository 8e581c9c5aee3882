#include "core/unlock_event.h"

#include <gtest/gtest.h>

namespace brindle {
namespace {

using std::chrono::seconds;

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
  struct Row {
    std::vector<FileName> photos, openings;
    std::size_t next;
  };
  const std::string lower = "5a3c0e1b-7d2f-4c11-9e0a-2b3c4d5e6f70";
  const Row rows[] = {
      {{}, {}, 0},
      {{photoFileName(id, 0), photoFileName(id, 1)}, {}, 2},
      {{photoFileName(id, 0)}, {photoFileName(id, 4)}, 5},
      {{lower + "-7.jpg"}, {}, 8},
      {{"one.jpg", "two.jpg", photoFileName(Uuid{}, 9)}, {}, 3},
      {{lower + "-.jpg", lower + "-x.jpg", lower + "-99999999999.jpg", lower + "-5.mov"}, {}, 4},
  };
  for (const Row& row : rows) {
    UnlockEvent event;
    event.id = id;
    event.photoFiles = row.photos;
    event.openingPhotos = row.openings;
    EXPECT_EQ(nextPhotoIndex(event), row.next) << testing::PrintToString(row.photos);
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

TEST(UnlockEventTest, EveryFieldCountsInEqualityAndHash) {
  using E = UnlockEvent;
  const std::vector<void (*)(E&)> changes = {
      [](E& e) { e.id = id; },
      [](E& e) { e.date += seconds(1); },
      [](E& e) { e.photoFiles = {"a"}; },
      [](E& e) { e.wrongPINs = 1; },
      [](E& e) { e.wrongAnswers = 1; },
      [](E& e) { e.alert = AlertState::sent; },
      [](E& e) { e.vault = VaultState::saved; },
      [](E& e) { e.vaultPhotos.emplace_back("a", id); },
      [](E& e) { e.photoProblem = PhotoProblem::dark; },
      [](E& e) { e.resolved = false; },
      [](E& e) { e.photoPending = true; },
      [](E& e) { e.videoFile = "a"; },
      [](E& e) { e.location.emplace(1, 2, 3, WallTime{}, "here"); },
      [](E& e) { e.trigger.emplace("tripwire", "a"); },
      [](E& e) { e.iPhone = IPhoneSeen::near; },
      [](E& e) { e.watchedOpenings = 1; },
      [](E& e) { e.attemptOnly = true; },
      [](E& e) { e.alsoOpened.emplace_back("tripwire", "a"); },
      [](E& e) { e.openingPhotos = {"a"}; },
      [](E& e) { e.openingClips = {"a"}; },
  };
  for (std::size_t i = 0; i < changes.size(); ++i) {
    E one, other;
    changes[i](one);
    EXPECT_NE(one, other) << i;
    EXPECT_NE(std::hash<E>{}(one), std::hash<E>{}(other)) << i;
    changes[i](other);
    EXPECT_EQ(std::hash<E>{}(one), std::hash<E>{}(other)) << i;
  }
}

}  // namespace
}  // namespace brindle
