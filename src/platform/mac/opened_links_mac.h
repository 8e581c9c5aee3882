#pragma once

#include <memory>

#include "platform/opened_links.h"

namespace brindle {

/// Links as the system hands them to this application, once AppKit has finished launching it.
class MacOpenedLinks : public OpenedLinks {
 public:
  /// One that came another way: the link that launched the application goes to the window toolkit,
  /// which installs its own handler meanwhile.
  virtual void deliver(const std::string& link) = 0;
};

std::unique_ptr<MacOpenedLinks> makeMacOpenedLinks();

}  // namespace brindle
