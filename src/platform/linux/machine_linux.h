#pragma once

#include <utility>

#include "platform/files.h"
#include "platform/machine.h"

namespace brindle {

/// Name and time zone as the files of machine-info(5) and localtime(5) give them.
class LinuxMachine final : public Machine {
 public:
  explicit LinuxMachine(Files& files, std::string etc = "/etc", std::string sys = "/sys")
      : files_(files), etc_(std::move(etc)), sys_(std::move(sys)) {}

  std::string name() const override;
  std::string timeZone() const override;
  std::string model() const override;
  ServiceReport report() const override;

 private:
  std::string text(const char* name) const;

  Files& files_;
  std::string etc_;
  std::string sys_;
};

}  // namespace brindle
