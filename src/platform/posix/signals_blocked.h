#pragma once

#include <csignal>

namespace brindle {

/// Blocks all signals while it lives, so that a thread started meanwhile is born deaf to them.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &earlier_);
  }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;
  ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &earlier_, nullptr); }

 private:
  sigset_t earlier_{};
};

}  // namespace brindle
