#pragma once

#include <optional>
#include <string>
#include <vector>

namespace brindle {

/// A running program, as the system shows it to those who may look.
struct RunningProgram {
  std::string executable;  ///< real path
  std::string script;      ///< what an interpreter runs, as it was called; else empty
};

/// Processes in a folder like /proc. `pid` is the name of one in it.
std::optional<RunningProgram> programOf(const std::string& processes, const std::string& pid);
/// The unit of the service manager in which a process runs; empty when in none.
std::string unitOf(const std::string& processes, const std::string& pid);
std::vector<std::string> processIds(const std::string& processes);

}  // namespace brindle
