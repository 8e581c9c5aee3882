#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brindle {

/// A running program, as the system shows it to those who may look.
struct RunningProgram {
  std::string executable;  ///< real path
  std::string script;      ///< what an interpreter runs, as it was called; else empty
};

/// The program of a process, which is given by its folder below /proc, as the system calls it;
/// empty when it may not be asked. An update may have replaced the file while it runs.
inline std::string executableOf(const std::string& process) {
  constexpr std::string_view deleted = " (deleted)";
  std::error_code failed;
  std::string path = std::filesystem::read_symlink(process + "/exe", failed).string();
  if (path.ends_with(deleted)) path.erase(path.size() - deleted.size());
  return path;
}

/// Processes in a folder like /proc. `pid` is the name of one in it.
std::optional<RunningProgram> programOf(const std::string& processes, const std::string& pid);
/// The unit of the service manager in which a process runs; empty when in none.
std::string unitOf(const std::string& processes, const std::string& pid);
std::vector<std::string> processIds(const std::string& processes);

}  // namespace brindle
