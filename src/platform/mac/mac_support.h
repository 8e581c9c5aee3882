#pragma once

#import <Foundation/Foundation.h>

#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "base/bytes.h"

namespace brindle::mac {

/// Owns one reference that a Create or Copy function returned. May be empty.
template <class Ref, void (*Release)(Ref)>
class Owned {
 public:
  explicit Owned(Ref ref = nullptr) : ref_(ref) {}
  Owned(Owned&& other) noexcept : ref_(std::exchange(other.ref_, nullptr)) {}
  Owned& operator=(Owned&&) = delete;
  ~Owned() {
    if (ref_) Release(ref_);  // releasing nothing traps
  }

  explicit operator bool() const { return ref_ != nullptr; }
  Ref get() const { return ref_; }
  /// For functions that return their result through a pointer.
  Ref* out() { return &ref_; }

 private:
  Ref ref_;
};

template <class Ref>
void releaseCf(Ref ref) {
  CFRelease(ref);
}
template <class Ref>
using CfOwned = Owned<Ref, releaseCf<Ref>>;

/// Empty for bytes that are no UTF-8.
NSString* _Nullable textOf(std::string_view text);
/// Like `textOf`, for our own literals and for text that only a person reads.
NSString* _Nonnull plainText(std::string_view text);
std::string stringOf(NSString* _Nullable text);
NSData* _Nonnull dataOf(ByteView bytes);
Bytes bytesOf(NSData* _Nonnull data);
std::string describe(NSError* _Nullable error);

/// False when `work` threw. Frameworks throw for whatever they think misused, a camera or a file
/// that vanishes at the wrong moment included; no exception may cross our functions.
bool withoutException(NS_NOESCAPE void (^_Nonnull work)(void));

/// Runs `task` on the main queue, later. Any thread.
void onMain(std::function<void()> task);

}  // namespace brindle::mac
