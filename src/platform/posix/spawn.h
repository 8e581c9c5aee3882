#pragma once

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/types.h>
#include <unistd.h>

extern char** environ;  // POSIX leaves it to the program to declare it

namespace brindle {

/// Starts a program that is found like a shell's and deaf to no signal, whatever its starter holds
/// back. `command` ends with a null pointer; `quiet` keeps what it says on standard error from
/// everybody. 0, or the number of the error.
inline int spawn(pid_t& child, char* const* command, bool quiet = false) {
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  if (quiet) posix_spawn_file_actions_addopen(&files, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  sigset_t none;
  sigemptyset(&none);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setsigmask(&attributes, &none);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
  const int error = posix_spawnp(&child, command[0], &files, &attributes, command, environ);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&files);
  return error;
}

}  // namespace brindle
