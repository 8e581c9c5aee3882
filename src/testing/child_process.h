#pragma once

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

namespace brindle {

/// A program that runs beside a test and ends with this object. It starts without blocked signals.
class ChildProcess {
 public:
  explicit ChildProcess(std::vector<std::string> command) {
    std::vector<char*> words;
    for (auto& word : command) words.push_back(word.data());
    words.push_back(nullptr);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
    if (posix_spawnp(&pid_, words[0], nullptr, &attributes, words.data(), environ) != 0) pid_ = 0;
    posix_spawnattr_destroy(&attributes);
  }
  ~ChildProcess() { end(); }
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  void end() {
    if (pid_ > 0) kill(pid_, SIGKILL);
    wait();
  }
  /// Its exit status once it has ended; -1 when it did not end by itself.
  int wait() {
    int status = -1;
    if (pid_ > 0) waitpid(pid_, &status, 0);
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

}  // namespace brindle
