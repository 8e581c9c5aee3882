#pragma once

#include "platform/linux/dbus_service.h"
#include "platform/linux/idle_source.h"

namespace brindle {

/// GNOME's compositor, which counts under X11 and Wayland alike.
class MutterIdle final : public IdleSource {
 public:
  MutterIdle(DbusLink& session, Log log, Changed changed);

  State state() const override { return present_ ? State::answers : State::silent; }
  void read(Done done) override;
  std::string name() const override { return "Mutter"; }
  std::string detail() const override;

 private:
  DbusService service_;
  Changed changed_;
  bool present_ = false;
  Subscription presence_;
};

}  // namespace brindle
