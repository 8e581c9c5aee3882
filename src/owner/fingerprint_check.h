#pragma once

#include <functional>
#include <string>

namespace brindle {

/// The machine's own fingerprint check. Main thread only. The system limits tries by itself and
/// tells no wrong ones, so nothing of it is counted here.
class FingerprintCheck {
 public:
  enum class Answer { right, refused, notOffered };

  virtual ~FingerprintCheck() = default;
  virtual bool offered() const = 0;
  /// Shows the system's prompt with `reason`; `done` from the main loop.
  virtual void ask(const std::string& reason, std::function<void(Answer)> done) = 0;
};

/// For machines without one. The gate does not ask where nothing is offered; whoever does is told.
class NoFingerprintCheck final : public FingerprintCheck {
 public:
  bool offered() const override { return false; }
  void ask(const std::string&, std::function<void(Answer)> done) override {
    done(Answer::notOffered);
  }
};

}  // namespace brindle
