#include <gtest/gtest.h>

#include <algorithm>

#include "core/photo_vault.h"
#include "platform/memory/files_memory.h"
#include "platform/posix/files_posix.h"
#include "testing/recording_log.h"
#include "testing/temporary_folder.h"

namespace brindle {
namespace {

/// One readable event and one that is not.
const std::string partDocument =
    R"({"events":[{"id":"00000000-0000-4000-8000-0000000000FF","date":"2026-10-31T08:15:00Z","photoFiles":[]},7]})";

std::string stamp() { return "20261031-081500"; }

/// A start on a document that reads in part, then one new event per save.
void recordThreeEvents(Files& files, const std::string& root,
                       const std::function<void()>& acknowledged) {
  RecordingLog lines;
  PhotoVault vault(files, root, stamp, Log(lines));
  SavedState state = vault.load().state;
  for (std::uint8_t i = 1; i <= 3; ++i) {
    UnlockEvent event;
    event.id.bytes[15] = i;
    state.events.push_back(std::make_shared<UnlockEvent>(event));
    if (vault.save(state) == PhotoVault::Save::saved) acknowledged();
  }
}

/// After a crash: the document reads, holds every acknowledged event and the old one, and what
/// could not be read then is still somewhere.
void expectNothingLost(Files& files, const std::string& root, std::size_t acknowledged) {
  RecordingLog lines;
  bool evidence = false;
  for (const std::string& name : files.list(root).value_or(std::vector<std::string>{})) {
    const auto bytes = files.read(joinPath(root, name));
    evidence = evidence || (bytes && textOf(*bytes) == partDocument);
  }
  EXPECT_TRUE(evidence);
  PhotoVault vault(files, root, stamp, Log(lines));
  const auto loaded = vault.load();
  EXPECT_TRUE(loaded.how == PhotoVault::StateLoad::read ||
              loaded.how == PhotoVault::StateLoad::partial)
      << lines.all();
  ASSERT_GE(loaded.state.events.size(), 1 + acknowledged) << lines.all();
  for (std::size_t i = 0; i <= acknowledged; ++i) {
    EXPECT_EQ(loaded.state.events[i]->id.bytes[15], i == 0 ? 0xff : i);
  }
}

void writePart(Files&& files, const std::string& root) {
  ASSERT_TRUE(files.makeFolder(root));
  ASSERT_TRUE(files.writeWhole(root + "/state.json", viewOf(partDocument)));
}

TEST(PhotoVaultCrashTest, NoPowerCutBetweenTwoStepsLosesAnything) {
  const TemporaryFolder folder;
  const std::string root = folder / "Brindle";
  MemoryFiles before;
  writePart(std::move(before), root);
  writePart(PosixFiles(root), root);
  std::vector<FileStep> steps = before.steps();
  const std::size_t start = steps.size();

  // The steps are those of the real backend.
  std::vector<std::size_t> doneAfter;  // save i was acknowledged after so many steps
  PosixFiles files(root, {}, [&steps](const FileStep& step) { steps.push_back(step); });
  recordThreeEvents(files, root, [&] { doneAfter.push_back(steps.size()); });
  ASSERT_EQ(doneAfter.size(), 3u);
  ASSERT_GE(steps.size(), start + 14) << "link, flush, and three times write, flush, rename, flush";

  for (std::size_t count = start; count <= steps.size(); ++count) {
    for (const auto survives :
         {MemoryFiles::Survives::flushedOnly, MemoryFiles::Survives::allNames}) {
      SCOPED_TRACE(testing::Message()
                   << count - start << " steps done, survives " << static_cast<int>(survives));
      const auto left = MemoryFiles::replay(steps, count, survives);
      expectNothingLost(*left, root,
                        static_cast<std::size_t>(std::ranges::count_if(
                            doneAfter, [count](std::size_t done) { return done <= count; })));
    }
  }
}

}  // namespace
}  // namespace brindle
