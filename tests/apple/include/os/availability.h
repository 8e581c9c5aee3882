// Markers for the declarations of this folder: since which macOS something exists, and results that
// must be looked at.
#pragma once
#define SINCE_MACOS(version) __attribute__((availability(macos, introduced = version)))
#define RESULT_MATTERS __attribute__((warn_unused_result))
