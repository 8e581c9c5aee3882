#include "platform/linux/own_processes.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <string_view>

#include "platform/file_step.h"

namespace brindle {
namespace {

namespace fs = std::filesystem;

bool isInterpreter(const std::string& executable) {
  constexpr std::array names{"bash", "dash", "gjs", "node", "perl", "python", "ruby", "sh"};
  const std::string name = nameOf(executable);
  // With or without a version: "python3.11".
  return std::ranges::any_of(names, [&](std::string_view one) {
    return name.starts_with(one) && name.find_first_not_of("0123456789.-", one.size()) == name.npos;
  });
}

/// The first argument that is no option.
std::string scriptOf(const std::string& process) {
  std::ifstream arguments(process + "/cmdline", std::ios::binary);
  std::string word;
  std::getline(arguments, word, '\0');
  while (std::getline(arguments, word, '\0')) {
    if (!word.starts_with('-')) return word;
  }
  return {};
}

}  // namespace

std::optional<RunningProgram> programOf(const std::string& processes, const std::string& pid) {
  const std::string process = processes + "/" + pid;
  RunningProgram program{executableOf(process), {}};
  if (program.executable.empty()) return std::nullopt;
  if (isInterpreter(program.executable)) program.script = scriptOf(process);
  return program;
}

std::string unitOf(const std::string& processes, const std::string& pid) {
  std::ifstream groups(processes + "/" + pid + "/cgroup");
  for (std::string line; std::getline(groups, line);) {
    if (line.starts_with("0::")) return nameOf(line);
  }
  return {};
}

std::vector<std::string> processIds(const std::string& processes) {
  std::vector<std::string> pids;
  std::error_code failed;
  fs::directory_iterator at(processes, failed);
  for (; !failed && at != fs::directory_iterator(); at.increment(failed)) {
    std::string name = at->path().filename().string();
    if (name.find_first_not_of("0123456789") == name.npos) pids.push_back(std::move(name));
  }
  return pids;
}

}  // namespace brindle
