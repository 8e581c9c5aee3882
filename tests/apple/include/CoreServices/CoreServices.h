#pragma once
#import <Foundation/Foundation.h>

// Four-character codes of Apple events (AppleEvents.h, AERegistry.h, AEDataModel.h).
enum : AEEventClass { kCoreEventClass = 'aevt' };
enum : AEEventID { kAEQuitApplication = 'quit' };
enum : AEKeyword {
  kAEQuitReason = 'why?',
  keySenderAuditTokenAttr = 'tokn',
  keyActualSenderAuditToken = 'acat',
  keySenderPIDAttr = 'spid',
};
enum : DescType { typeType = 'type' };
