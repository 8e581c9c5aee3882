#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/enum_names.h"
#include "base/times.h"
#include "base/uuid.h"
#include "core/photo_problem.h"
#include "core/trigger.h"

namespace brindle {

/// A name relative to the photo folder, as stored. Never trust it as a path: see `isPlainFileName`.
using FileName = std::string;

/// True for a name that stays inside its folder: not empty, no slash, no NUL, not "." and without
/// "..".
bool isPlainFileName(std::string_view name);

/// How far the e-mail alert to the owner has got.
enum class AlertState { none, queued, sent, rejected };
inline constexpr EnumNames<AlertState, 4> alertStateNames{{{
    {AlertState::none, "none"},
    {AlertState::queued, "queued"},
    {AlertState::sent, "sent"},
    {AlertState::rejected, "rejected"},
}}};

/// How far the web-vault copy of an event has got.
enum class VaultState { none, queued, saved, rejected };
inline constexpr EnumNames<VaultState, 4> vaultStateNames{{{
    {VaultState::none, "none"},
    {VaultState::queued, "queued"},
    {VaultState::saved, "saved"},
    {VaultState::rejected, "rejected"},
}}};

/// Whether the owner's iPhone was near at the time.
enum class IPhoneSeen { near, away, unsure };
inline constexpr EnumNames<IPhoneSeen, 3> iPhoneSeenNames{{{
    {IPhoneSeen::near, "near"},
    {IPhoneSeen::away, "away"},
    {IPhoneSeen::unsure, "unsure"},
}}};

/// Where the machine was.
struct UnlockLocation {
  double lat = 0;
  double lon = 0;
  double accuracy = 0;  ///< metres
  WallTime at{};
  std::optional<std::string> place;
  bool operator==(const UnlockLocation&) const = default;
};

/// One occurrence while the guard was on: an unlock, the opening of a watched item, a closed lid,
/// an unplugged adapter, a return after idle, or a wrong try. A value; it is changed by making
/// another.
struct UnlockEvent {
  /// One photo's progress towards the web vault.
  struct VaultPhoto {
    enum class Kind { unlock, wrongPIN, wrongPassword };
    enum class State { waiting, queued, saved, rejected };

    FileName file;  ///< empty: the owner deleted the photo, its place among the items stays
    Uuid id;
    WallTime takenAt{};
    Kind kind = Kind::unlock;
    State state = State::waiting;
    bool operator==(const VaultPhoto&) const = default;
  };

  Uuid id;
  WallTime date{};
  std::vector<FileName> photoFiles;
  std::int64_t wrongPINs = 0;
  std::int64_t wrongAnswers = 0;
  AlertState alert = AlertState::none;
  VaultState vault = VaultState::none;
  std::vector<VaultPhoto> vaultPhotos;
  std::optional<PhotoProblem> photoProblem;
  /// True by default: documents older than the field hold only events that were dealt with. New
  /// events are made with an explicit value.
  bool resolved = true;
  bool photoPending = false;
  std::optional<FileName> videoFile;
  std::optional<UnlockLocation> location;
  std::optional<Trigger> trigger;  ///< none: an ordinary unlock
  std::optional<IPhoneSeen> iPhone;
  std::int64_t watchedOpenings = 0;  ///< watched-item openings folded into this event
  bool attemptOnly = false;          ///< records wrong tries, not an unlock
  std::vector<Trigger> alsoOpened;
  std::vector<FileName> openingPhotos;
  std::vector<FileName> openingClips;

  bool operator==(const UnlockEvent&) const = default;

  /// All files it names in the photo folder, each once.
  std::vector<FileName> files() const;
};

inline constexpr EnumNames<UnlockEvent::VaultPhoto::Kind, 3> vaultPhotoKindNames{{{
    {UnlockEvent::VaultPhoto::Kind::unlock, "unlock"},
    {UnlockEvent::VaultPhoto::Kind::wrongPIN, "wrong-pin"},
    {UnlockEvent::VaultPhoto::Kind::wrongPassword, "wrong-password"},
}}};
inline constexpr EnumNames<UnlockEvent::VaultPhoto::State, 4> vaultPhotoStateNames{{{
    {UnlockEvent::VaultPhoto::State::waiting, "waiting"},
    {UnlockEvent::VaultPhoto::State::queued, "queued"},
    {UnlockEvent::VaultPhoto::State::saved, "saved"},
    {UnlockEvent::VaultPhoto::State::rejected, "rejected"},
}}};

/// An alert owed because the camera could not be used while on.
struct CameraOffAlert {
  Uuid id;
  WallTime at{};
  AlertState alert = AlertState::none;
  bool operator==(const CameraOffAlert&) const = default;
};

/// "<ID>-<index>.jpg", the identity in upper case.
FileName photoFileName(const Uuid& event, std::size_t index);

/// The index that the next photo of an event gets: one more than the highest index any of its files
/// has, and at least the number of photos it has.
std::size_t nextPhotoIndex(const UnlockEvent& event);

/// Events are shared, unchanging values: a copy of the whole history costs a pointer per event, and
/// a save on a worker sees exactly the history it was given.
using EventRef = std::shared_ptr<const UnlockEvent>;
using EventList = std::vector<EventRef>;

}  // namespace brindle

template <>
struct std::hash<brindle::UnlockEvent> {
  std::size_t operator()(const brindle::UnlockEvent& event) const noexcept;
};
