#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

namespace brindle {

/// A private folder that goes with the object; its path is empty when it could not be made.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::error_code ignored;
    std::string pattern = std::filesystem::temp_directory_path(ignored) / "brindle-test-XXXXXX";
    if (mkdtemp(pattern.data())) path_ = pattern;
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder() {
    std::error_code ignored;
    if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
  }

  const std::string& path() const { return path_; }
  std::string operator/(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

}  // namespace brindle
