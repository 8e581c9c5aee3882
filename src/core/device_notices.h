#pragma once

#include "core/guard_collaborators.h"
#include "core/owner_secrets.h"

namespace brindle {

// What the owner's other devices are told, and in which words.

/// An opening, a lid, an adapter, a return: told at once, since nobody has to confirm it first.
DeviceNotice noticeOf(const Trigger& trigger);
DeviceNotice noticeOf(WrongTry which);
DeviceNotice noticeOfTurnOn(const ArmSource& source);
DeviceNotice noticeOfTurnOff();
/// Nobody said in time that it was them. Nothing for an event that was told at once.
std::optional<DeviceNotice> noticeOfUnconfirmed(const UnlockEvent& event);

/// The kind under which somebody outside knows the event, and the watched item, if it was one.
std::string kindOf(const UnlockEvent& event);
std::optional<std::string> watchedItemOf(const std::optional<Trigger>& trigger);

}  // namespace brindle
