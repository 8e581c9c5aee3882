#import "platform/mac/mac_support.h"

#include <fmt/format.h>

#include <memory>

namespace brindle::mac {

NSString* textOf(std::string_view text) {
  return [[NSString alloc] initWithBytes:text.data()
                                  length:text.size()
                                encoding:NSUTF8StringEncoding];
}

NSString* plainText(std::string_view text) { return textOf(text) ?: @""; }

std::string stringOf(NSString* text) {
  const char* bytes = text.UTF8String;
  return bytes ? std::string(bytes) : std::string();
}

NSData* dataOf(ByteView bytes) { return [NSData dataWithBytes:bytes.data() length:bytes.size()]; }

Bytes bytesOf(NSData* data) {
  const auto* first = static_cast<const std::uint8_t*>(data.bytes);
  return Bytes(first, first + data.length);
}

std::string describe(NSError* error) {
  if (!error) return "no reason given";
  return fmt::format("{} ({} {})", stringOf(error.localizedDescription), stringOf(error.domain),
                     error.code);
}

bool withoutException(NS_NOESCAPE void (^work)(void)) {
  @try {
    work();
    return true;
  } @catch (NSException*) {
    return false;
  }
}

void onMain(std::function<void()> task) {
  // Shared, so that the task and what it holds are destroyed on the main thread and not by whoever
  // drops the block last.
  const auto shared = std::make_shared<std::function<void()>>(std::move(task));
  dispatch_async(dispatch_get_main_queue(), ^{
    const auto running = std::exchange(*shared, nullptr);
    if (running) running();
  });
}

}  // namespace brindle::mac
