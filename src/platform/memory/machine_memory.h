#pragma once

#include "platform/machine.h"

namespace brindle {

class MemoryMachine final : public Machine {
 public:
  std::string name() const override { return name_; }
  std::string timeZone() const override { return timeZone_; }
  std::string model() const override { return "Testing Model"; }
  ServiceReport report() const override { return {"machine", "memory", true, name_}; }

  void setName(std::string name) { name_ = std::move(name); }
  void setTimeZone(std::string zone) { timeZone_ = std::move(zone); }

 private:
  std::string name_ = "Testing Machine";
  std::string timeZone_ = "Europe/Berlin";
};

}  // namespace brindle
