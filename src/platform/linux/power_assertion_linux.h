#pragma once

#include <array>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "base/lifetime.h"
#include "platform/linux/logind_session.h"
#include "platform/power_assertion.h"

namespace brindle {

/// Inhibitors of logind and, against sleep for want of input, of the desktop as well: desktops keep
/// their own time. Each hold has its own; one that ends gives back what is granted later, too.
class LinuxPowerAssertions final : public PowerAssertions {
 public:
  LinuxPowerAssertions(LogindSession& logind, DbusLink& session, Log log);
  ~LinuxPowerAssertions() override;

  [[nodiscard]] Subscription hold(Kind kind, const std::string& name) override;
  bool offers(Kind kind) const override;
  ServiceReport report() const override;

 private:
  class Desktop;
  struct Hold;
  void logindChanged(bool present);
  void desktopChanged(Desktop& desktop, bool present);
  void askLogind(const std::shared_ptr<Hold>& hold);
  void askDesktop(Desktop& desktop, const std::shared_ptr<Hold>& hold);
  void giveBack(Hold& hold);
  std::vector<std::shared_ptr<Hold>> holds();

  DbusService& logind_;
  std::vector<std::unique_ptr<Desktop>> desktops_;
  std::vector<std::weak_ptr<Hold>> holds_;
  std::map<Kind, std::string> refusals_;  // of logind, to what was asked for last
  std::vector<Subscription> presences_;
  Lifetime lifetime_;
};

}  // namespace brindle
