#include "owner/fresh_install.h"

#include <algorithm>
#include <array>
#include <memory>

#include "owner/keychain_items.h"

namespace brindle {
namespace {

constexpr std::string_view installPrefix = "install.";
constexpr std::string_view onboardedPrefix = "onboarde";
constexpr std::string_view begunKey = "install.begun";
constexpr std::string_view doneKey = "install.done";

}  // namespace

struct FreshInstall::Outcome {
  bool fresh = false;
  KeychainItems::Deleted deleted;
};

FreshInstall::FreshInstall(KeychainItems& items, Preferences& preferences, Files& files,
                           WorkerQueue& worker, Log log, std::string folder)
    : items_(items),
      preferences_(preferences),
      files_(files),
      worker_(worker),
      log_(log),
      folder_(std::move(folder)) {}

/// The mark of a deletion that was begun and never finished does not count: it is taken up again.
bool FreshInstall::marked() const {
  const auto isMark = [](const std::string& key) { return key != begunKey; };
  return std::ranges::any_of(preferences_.keys(installPrefix), isMark) ||
         !preferences_.keys(onboardedPrefix).empty();
}

bool FreshInstall::folderIsBare() const {
  static constexpr std::array<std::string_view, 2> documents{"state.", "watch-list."};
  const auto isTrace = [](const std::string& name) {
    return std::ranges::any_of(documents,
                               [&](std::string_view start) { return name.starts_with(start); });
  };
  const auto absent = [](const auto& listing) {
    return listing.error().kind == FileError::Kind::notFound;
  };
  const auto all = files_.list(folder_);
  if (!all) return absent(all);
  if (std::ranges::any_of(*all, isTrace)) return false;
  const auto photos = files_.list(joinPath(folder_, "photos"));
  return photos ? photos->empty() : absent(photos);
}

FreshInstall::Outcome FreshInstall::removeSecrets() const {
  Outcome outcome{.fresh = folderIsBare(), .deleted = {}};
  if (!outcome.fresh) return outcome;
  if (!items_.released()) {
    log_.notice("fresh install: not the released app, nothing deleted");
    return outcome;
  }
  for (const std::string_view name : secret_names::all) {
    const auto one = items_.removeEverywhere(name);
    outcome.deleted.all += one.all;
    outcome.deleted.inLegacy += one.inLegacy;
    outcome.deleted.failures += one.failures;
  }
  log_.notice("fresh install: %{public}ld deletes, %{public}ld in the legacy keychain",
              outcome.deleted.all, outcome.deleted.inLegacy);
  return outcome;
}

void FreshInstall::run(std::function<void()> done) {
  // The mark comes first: without it on disk a second launch could take the PIN chosen meanwhile
  // for a leftover.
  const bool looks = !marked() && preferences_.set(begunKey, true);
  auto outcome = std::make_shared<Outcome>();
  worker_.run(
      [this, looks, outcome] {
        if (looks) *outcome = removeSecrets();
      },
      lifetime_.guard([this, looks, outcome, done = std::move(done)] {
        // After a failed delete the next launch tries again, unless a PIN has been chosen by then.
        if (looks && outcome->deleted.failures == 0) {
          static_cast<void>(preferences_.change(
              {{std::string(doneKey), true}, {std::string(begunKey), std::nullopt}}));
        }
        done();
      }));
}

}  // namespace brindle
