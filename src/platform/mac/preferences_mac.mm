#import <Foundation/Foundation.h>

#include "platform/mac/mac_backends.h"
#include "platform/mac/mac_support.h"

namespace brindle {
namespace {

NSNumber* number(const PreferenceValue& value) {
  if (const auto* truth = std::get_if<bool>(&value)) return [NSNumber numberWithBool:*truth];
  if (const auto* whole = std::get_if<std::int64_t>(&value)) {
    return [NSNumber numberWithLongLong:*whole];
  }
  if (const auto* real = std::get_if<double>(&value)) return [NSNumber numberWithDouble:*real];
  return nil;
}

/// Nothing for text that is no UTF-8: a property list cannot hold it.
id objectFor(const PreferenceValue& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return mac::textOf(*text);
  return number(value);
}

std::optional<PreferenceValue> valueOf(id object) {
  if ([object isKindOfClass:NSString.class]) {
    return mac::stringOf(static_cast<NSString*>(object));
  }
  if (![object isKindOfClass:NSNumber.class]) return std::nullopt;
  NSNumber* stored = object;
  // A boolean is a number too; only its Core Foundation type tells them apart.
  const CFTypeRef raw = (__bridge CFTypeRef)stored;
  if (CFGetTypeID(raw) == CFBooleanGetTypeID()) return stored.boolValue ? true : false;
  if (CFNumberIsFloatType((__bridge CFNumberRef)stored)) return stored.doubleValue;
  return std::int64_t{stored.longLongValue};
}

class MacPreferences final : public Preferences {
 public:
  std::optional<PreferenceValue> get(std::string_view key) const override {
    return valueOf([defaults_ objectForKey:mac::plainText(key)]);
  }

  bool change(
      const std::vector<std::pair<std::string, std::optional<PreferenceValue>>>& changes) override {
    NSMutableDictionary<NSString*, id>* after = [NSMutableDictionary dictionary];
    NSMutableDictionary<NSString*, id>* before = [NSMutableDictionary dictionary];
    for (const auto& [key, value] : changes) {
      NSString* name = mac::textOf(key);
      id object = value ? objectFor(*value) : NSNull.null;
      if (!name || !object) return false;
      after[name] = object;
      before[name] = [defaults_ objectForKey:name] ?: NSNull.null;
    }
    apply(after);
    if (CFPreferencesAppSynchronize(kCFPreferencesCurrentApplication)) return true;
    apply(before);
    return false;
  }

  std::vector<std::string> keys(std::string_view prefix) const override {
    NSString* wanted = mac::plainText(prefix);
    std::vector<std::string> found;
    for (NSString* key in defaults_.dictionaryRepresentation) {
      if (wanted.length == 0 || [key hasPrefix:wanted]) found.push_back(mac::stringOf(key));
    }
    return found;
  }

  ServiceReport report() const override {
    const bool synced = CFPreferencesAppSynchronize(kCFPreferencesCurrentApplication);
    return {"preferences", "NSUserDefaults", synced,
            synced ? "stored by the preferences service"
                   : "the preferences service does not store them"};
  }

 private:
  void apply(NSDictionary<NSString*, id>* values) {
    for (NSString* key in values) {
      id value = values[key];
      if (value == NSNull.null) {
        [defaults_ removeObjectForKey:key];
      } else {
        [defaults_ setObject:value forKey:key];
      }
    }
  }

  NSUserDefaults* defaults_ = NSUserDefaults.standardUserDefaults;
};

}  // namespace

std::unique_ptr<Preferences> makeMacPreferences() { return std::make_unique<MacPreferences>(); }

}  // namespace brindle
