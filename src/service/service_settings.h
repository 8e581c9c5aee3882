#pragma once

#include <cstdint>
#include <string>

#include "platform/preferences.h"

namespace brindle {

/// Google's OAuth 2.0 endpoints.
struct GoogleEndpoints {
  std::string authorization = "https://accounts.google.com/o/oauth2/v2/auth";
  std::string token = "https://oauth2.googleapis.com/token";
};

/// Whom this program talks to.
struct ServiceSettings {
  std::string serviceURL;      ///< empty: nobody
  std::string googleClientId;  ///< empty: not registered with Google
  GoogleEndpoints google;
  std::int64_t build = 0;    ///< of this program, as the service counts them
  bool releasedApp = false;  ///< then only this machine may stand in for the built-in service
  std::string problem;       ///< for a person: why a setting was not followed
};

/// What was chosen when this program was built.
ServiceSettings builtInServiceSettings();

/// The built-in settings with the owner's preferences "service.url" and "google.clientId" in their
/// place, and, for a rehearsal on this machine only, "google.authorizationURL" and
/// "google.tokenURL". An override that may not be followed is named in `problem`; it leaves the
/// service unset, for a check-in must not go to somebody whom the owner did not mean.
ServiceSettings serviceSettings(const Preferences& preferences,
                                ServiceSettings builtIn = builtInServiceSettings());

}  // namespace brindle
