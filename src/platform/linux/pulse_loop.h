#pragma once

#include <pulse/mainloop-api.h>

#include <map>
#include <memory>

#include "platform/posix/main_loop.h"

namespace brindle {

/// Our main loop as libpulse wants to see one: no thread of its own, nothing to lock. Main thread
/// only; outlives whatever was given its `api`.
class PulseLoop {
 public:
  explicit PulseLoop(MainLoop& loop);
  PulseLoop(const PulseLoop&) = delete;
  PulseLoop& operator=(const PulseLoop&) = delete;
  ~PulseLoop();

  pa_mainloop_api* api() { return &api_; }
  MainLoop& loop() { return loop_; }

  template <class Event>
  using Events = std::map<Event*, std::shared_ptr<Event>>;
  /// libpulse's, which may free one while it is being called: whoever calls holds it meanwhile.
  Events<pa_io_event> ios;
  Events<pa_time_event> times;
  Events<pa_defer_event> defers;

 private:
  MainLoop& loop_;
  pa_mainloop_api api_;
};

}  // namespace brindle
