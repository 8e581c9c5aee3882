#pragma once

#import <Foundation/Foundation.h>

#include <sys/types.h>

#include <string>

namespace brindle::mac {

/// Who sent an Apple event, as the system has marked it.
struct EventSender {
  NSData* _Nullable auditToken = nil;   ///< of the process that sent it
  NSData* _Nullable actualToken = nil;  ///< of the process it was sent for, where the two differ
  pid_t pid = 0;                        ///< 0 when it is not told
};

/// True only when the sender still runs and its code is the login window as Apple signs it. Looks
/// the process up by its identifier only where there is no audit token: identifiers are used again.
bool isLoginWindow(const EventSender& sender);

/// Signing identifier, else path, else process identifier. For the log; proves nothing.
std::string describe(const EventSender& sender);

}  // namespace brindle::mac
