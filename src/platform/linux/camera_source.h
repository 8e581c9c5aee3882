#pragma once

#include <string>

namespace brindle {

/// Where frames come from: the machine's own cameras, or for development the beginning of a
/// GStreamer pipeline ("videotestsrc is-live=true", "multifilesrc location=%d.jpg loop=true
/// caps=image/jpeg,framerate=10/1"). The released application has real cameras only.
struct CameraSource {
  std::string developerFragment;  ///< empty: a real camera

  bool real() const {
#ifdef BRINDLE_RELEASED_APP
    return true;
#else
    return developerFragment.empty();
#endif
  }
};

}  // namespace brindle
