#pragma once

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/posix/spawn.h"

namespace brindle {

/// A program that runs beside a test and ends with this object. It blocks no signals.
class ChildProcess {
 public:
  explicit ChildProcess(std::vector<std::string> command) {
    std::vector<char*> words;
    for (auto& word : command) words.push_back(word.data());
    words.push_back(nullptr);
    if (spawn(pid_, words.data()) != 0) pid_ = 0;
  }
  /// The same program, which goes on with this alone and ends with what it gives.
  explicit ChildProcess(const std::function<int()>& work) : pid_(fork()) {
    if (pid_ == 0) _exit(work());
  }
  ~ChildProcess() { end(); }
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  void end() {
    if (pid_ > 0) kill(pid_, SIGKILL);
    wait();
  }
  /// It answers nothing from now on, and does not end.
  void hang() const {
    if (pid_ > 0) kill(pid_, SIGSTOP);
  }
  /// Its exit status once it has ended; -1 when it did not end by itself.
  int wait() {
    int status = -1;
    if (pid_ > 0) waitpid(pid_, &status, 0);
    pid_ = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  /// As `wait`, or nothing while it runs.
  std::optional<int> poll() {
    int status = -1;
    if (pid_ > 0 && waitpid(pid_, &status, WNOHANG) == 0) return std::nullopt;
    pid_ = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  pid_t pid_ = 0;
};

/// Runs a line of bash, which sees the functions that the place around the test exports.
inline int bash(const std::string& line) {
  return ChildProcess({"bash", "-c", line + " >/dev/null"}).wait();
}

/// A program that writes a word into descriptor 3 once it is ready, after which this returns.
/// `folder` keeps the pipe.
inline std::pair<std::unique_ptr<ChildProcess>, std::string> readyProgram(const std::string& folder,
                                                                          const std::string& line) {
  const std::string pipe = folder + "/ready";
  mkfifo(pipe.c_str(), 0600);
  auto program = std::make_unique<ChildProcess>(
      std::vector<std::string>{"bash", "-c", "exec " + line + " 3>" + pipe + " 2>/dev/null"});
  std::string said;
  std::ifstream(pipe) >> said;
  return {std::move(program), said};
}

}  // namespace brindle
