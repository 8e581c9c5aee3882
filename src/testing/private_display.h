#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <tuple>

#include "testing/child_process.h"
#include "testing/temporary_folder.h"

namespace brindle {

/// An X server of our own, named by DISPLAY while it lives.
class PrivateDisplay {
 public:
  PrivateDisplay() {
    std::string number;
    std::tie(server_, number) = readyProgram(
        folder_.path(), "Xvfb -displayfd 3 -nolisten tcp -noreset -screen 0 640x480x24");
    EXPECT_FALSE(number.empty()) << "Xvfb did not start";
    ::setenv("DISPLAY", (":" + number).c_str(), 1);
  }
  ~PrivateDisplay() { ::unsetenv("DISPLAY"); }
  void kill() { server_.reset(); }
  void hang() const { server_->hang(); }

 private:
  TemporaryFolder folder_;
  std::unique_ptr<ChildProcess> server_;
};

}  // namespace brindle
