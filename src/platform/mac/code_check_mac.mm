#import "platform/mac/code_check_mac.h"

#import <Security/Security.h>
#include <fmt/format.h>
#include <libproc.h>

#include <array>

#include "platform/mac/mac_names.h"
#include "platform/mac/mac_support.h"

namespace brindle::mac {
namespace {

constexpr NSUInteger auditTokenSize = 32;  // audit_token_t: eight 32-bit words

CfOwned<SecCodeRef> codeOf(const EventSender& sender) {
  NSMutableDictionary<NSString*, id>* attributes = [NSMutableDictionary dictionary];
  if (sender.auditToken) {
    attributes[(__bridge NSString*)kSecGuestAttributeAudit] = sender.auditToken;
  } else if (sender.pid > 0) {
    attributes[(__bridge NSString*)kSecGuestAttributePid] = @(sender.pid);
  } else {
    return CfOwned<SecCodeRef>();
  }
  CfOwned<SecCodeRef> code;
  const OSStatus found = SecCodeCopyGuestWithAttributes(
      nullptr, (__bridge CFDictionaryRef)attributes, kSecCSDefaultFlags, code.out());
  if (found != errSecSuccess) return CfOwned<SecCodeRef>();
  return code;
}

bool tokensAreSound(const EventSender& sender) {
  if (sender.auditToken && sender.auditToken.length != auditTokenSize) return false;
  // A brokered event carries both and they differ: then nobody vouches for who wanted it.
  return !sender.actualToken || [sender.actualToken isEqual:sender.auditToken];
}

std::string signingIdentifier(SecCodeRef code) {
  CfOwned<SecStaticCodeRef> onDisk;
  if (SecCodeCopyStaticCode(code, kSecCSDefaultFlags, onDisk.out()) != errSecSuccess) return "";
  CfOwned<CFDictionaryRef> information;
  const OSStatus read =
      SecCodeCopySigningInformation(onDisk.get(), kSecCSDefaultFlags, information.out());
  if (read != errSecSuccess || !information) return "";
  NSDictionary<NSString*, id>* entries = (__bridge NSDictionary*)information.get();
  id identifier = entries[(__bridge NSString*)kSecCodeInfoIdentifier];
  return [identifier isKindOfClass:NSString.class] ? stringOf(identifier) : "";
}

std::string pathOf(pid_t pid) {
  std::array<char, PROC_PIDPATHINFO_MAXSIZE> path{};
  const int length = proc_pidpath(pid, path.data(), static_cast<std::uint32_t>(path.size()));
  return length > 0 ? std::string(path.data(), static_cast<std::size_t>(length)) : "";
}

}  // namespace

bool isLoginWindow(const EventSender& sender) {
  if (!tokensAreSound(sender)) return false;
  const CfOwned<SecCodeRef> code = codeOf(sender);
  CfOwned<SecRequirementRef> requirement;
  const OSStatus made = SecRequirementCreateWithString(
      (__bridge CFStringRef)names::loginWindowRequirement, kSecCSDefaultFlags, requirement.out());
  if (!code || made != errSecSuccess) return false;
  return SecCodeCheckValidity(code.get(), kSecCSDefaultFlags, requirement.get()) == errSecSuccess;
}

std::string describe(const EventSender& sender) {
  if (const CfOwned<SecCodeRef> code = codeOf(sender)) {
    const std::string identifier = signingIdentifier(code.get());
    if (!identifier.empty()) return identifier;
  }
  if (sender.pid <= 0) return "unknown";
  const std::string path = pathOf(sender.pid);
  return path.empty() ? fmt::format("process {}", sender.pid) : path;
}

}  // namespace brindle::mac
