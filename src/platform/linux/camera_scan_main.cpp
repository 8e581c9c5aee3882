/// brindle-camera-scan: has GStreamer look at its plug-ins and remember what it found, then ends. A
/// new home has no such memory, and looking takes seconds on a cold disk.

#include <gst/gst.h>

int main() { return gst_init_check(nullptr, nullptr, nullptr) == TRUE ? 0 : 1; }
