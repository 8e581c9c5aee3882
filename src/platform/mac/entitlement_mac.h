#pragma once

#import <Foundation/Foundation.h>

namespace brindle::mac {

/// What this process was signed with under `name`; nothing when it was not.
id _Nullable entitlement(NSString* _Nonnull name);

}  // namespace brindle::mac
