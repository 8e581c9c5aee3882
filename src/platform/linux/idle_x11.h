#pragma once

#include <memory>
#include <vector>

#include "base/subscription.h"
#include "platform/linux/idle_source.h"
#include "platform/posix/main_loop.h"

struct xcb_connection_t;

namespace brindle {

/// The screen saver extension of the X display that DISPLAY names. Neither a display that never
/// answers a connection nor one that hangs later holds the main loop up: the connection is made on
/// a thread of its own, and what is asked over it is not waited for.
class X11Idle final : public IdleSource {
 public:
  X11Idle(MainLoop& loop, Changed changed);
  ~X11Idle() override;

  State state() const override { return state_; }
  void read(Done done) override;
  void settle(std::chrono::milliseconds longest) override;
  std::string name() const override { return "XScreenSaver"; }
  std::string detail() const override;

 private:
  struct Attempt;
  struct Disconnect {
    void operator()(xcb_connection_t* connection) const;
  };
  using Connection = std::unique_ptr<xcb_connection_t, Disconnect>;

  static void connect(Attempt& attempt);
  void connected();
  void ready();
  void takeAnswer();
  void answer(std::optional<Duration> idle);
  void become(State state);

  MainLoop& loop_;
  Changed changed_;
  State state_ = State::asking;
  std::shared_ptr<Attempt> attempt_;  ///< while it lasts; its thread may outlive us
  Connection connection_;
  std::uint32_t root_ = 0;
  std::optional<unsigned> asked_;  ///< the number of the request that is not answered yet
  std::vector<Done> waiting_;
  Subscription watch_;
};

}  // namespace brindle
