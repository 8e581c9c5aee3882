#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/bytes.h"
#include "base/enum_names.h"
#include "base/times.h"
#include "base/uuid.h"

namespace brindle {

/// What the service is told; the word is the end of the address. Of one event they go in this
/// order, each after the answer to the one before.
enum class AlertWatchRoute { pending, pendingPhoto, extend, cancel, release, beat };
inline constexpr EnumNames<AlertWatchRoute, 6> alertWatchRouteNames{{{
    {AlertWatchRoute::pending, "pending"},
    {AlertWatchRoute::pendingPhoto, "pending-photo"},
    {AlertWatchRoute::extend, "extend"},
    {AlertWatchRoute::cancel, "cancel"},
    {AlertWatchRoute::release, "release"},
    {AlertWatchRoute::beat, "beat"},
}}};

/// Each operation is sent twice: by this program, and by the system, which goes on while the
/// program is suspended or gone.
enum class AlertWatchChannel { immediate, background };
inline constexpr EnumNames<AlertWatchChannel, 2> alertWatchChannelNames{{{
    {AlertWatchChannel::immediate, "immediate"},
    {AlertWatchChannel::background, "background"},
}}};

/// How an operation fared.
enum class AlertWatchResult { done, retryLater, rejected };

/// A new start of the watch that the service is to know of. The id lets it recognise a repeat.
struct AlertWatchReset {
  std::string reason;  ///< "quit", "updating", "login-item" or "crash"
  Uuid id;
  bool operator==(const AlertWatchReset&) const = default;
};

/// One thing that is still owed to the service.
struct AlertWatchOp {
  Uuid id;  ///< also in the name of its body file
  AlertWatchRoute route = AlertWatchRoute::beat;
  std::optional<Uuid> eventID;
  Bytes body;        ///< empty: it is a photo, or by an earlier build, and lies in `file` alone
  std::string file;  ///< name in the outbox folder; empty: not written yet
  WallTime createdAt{};
  std::int64_t attempts = 0;  ///< copies sent
  std::optional<WallTime> sentAt;
  std::optional<WallTime> notBefore;
  bool abandoned = false;    ///< overtaken while on its way: not sent again
  bool cancelAsked = false;  ///< a "cancel" of the same event follows
  std::optional<std::chrono::seconds> repeatAfter;
  std::optional<Uuid> resetId;
  bool copied = false;  ///< its file came from the folder of an earlier build
  bool aheadOfItsPending = false;
  std::string account;   ///< e-mail it was made under; empty: by an earlier build
  std::int64_t seq = 0;  ///< of a check-in
  bool operator==(const AlertWatchOp&) const = default;
};

inline bool isCheckIn(AlertWatchRoute route) {
  return route == AlertWatchRoute::beat || route == AlertWatchRoute::release;
}

/// What the watch remembers of an occurrence until its owner has answered for it.
struct Watched {
  WallTime at{};
  bool photo = false;        ///< its first photo is wanted
  bool photoQueued = false;  ///< and was queued
  bool resolved = false;     ///< the owner answered; a "cancel" is owed
  std::string account;
  bool operator==(const Watched&) const = default;
};

}  // namespace brindle
