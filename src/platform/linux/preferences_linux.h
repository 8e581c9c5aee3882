#pragma once

#include <map>

#include "base/log.h"
#include "platform/files.h"
#include "platform/preferences.h"

namespace brindle {

/// One flat JSON object in "preferences.json", written whole through Files at each change. A file
/// that cannot be understood is moved aside under a new name before anything is written; one that
/// cannot be opened stays, and nothing can be stored until a later start can read it.
class LinuxPreferences final : public Preferences {
 public:
  /// Reads the file, which lies in `folder`.
  LinuxPreferences(Files& files, std::string folder, Log log);

  std::optional<PreferenceValue> get(std::string_view key) const override;
  [[nodiscard]] bool change(
      const std::vector<std::pair<std::string, std::optional<PreferenceValue>>>& changes) override;
  std::vector<std::string> keys(std::string_view prefix) const override;
  ServiceReport report() const override;

 private:
  using Values = std::map<std::string, PreferenceValue, std::less<>>;

  static bool parse(ByteView document, Values& values);
  static std::string encode(const Values& values);
  void load(Log log);
  bool setAside();
  std::optional<PreferenceValue> put(const std::string& key, std::optional<PreferenceValue> value);
  bool holds(const std::pair<std::string, std::optional<PreferenceValue>>& change) const;

  Files& files_;
  std::string folder_;
  std::string path_;
  Values values_;
  bool storable_ = true;
  std::string problem_;  // empty while all is well
};

}  // namespace brindle
