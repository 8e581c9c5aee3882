#include "service/service_settings.h"

#include <utility>

#include "service/service_client.h"

#ifndef BRINDLE_SERVICE_URL
#define BRINDLE_SERVICE_URL ""
#endif
#ifndef BRINDLE_GOOGLE_CLIENT_ID
#define BRINDLE_GOOGLE_CLIENT_ID ""
#endif
#ifndef BRINDLE_BUILD_NUMBER
#define BRINDLE_BUILD_NUMBER 0
#endif

namespace brindle {
namespace {

#ifdef BRINDLE_RELEASED_APP
constexpr bool released = true;
#else
constexpr bool released = false;
#endif

void overrideService(ServiceSettings& settings, std::string url) {
  settings.problem = serviceUrlProblem(url);
  if (settings.problem.empty() && settings.releasedApp && !isLoopbackUrl(url)) {
    settings.problem = "The released application talks to its own service, or to this machine.";
  }
  settings.serviceURL = settings.problem.empty() ? std::move(url) : std::string();
}

void overrideForRehearsal(std::string& endpoint, const std::optional<std::string>& url) {
  if (url && isLoopbackUrl(*url)) endpoint = *url;
}

}  // namespace

ServiceSettings builtInServiceSettings() {
  return {BRINDLE_SERVICE_URL, BRINDLE_GOOGLE_CLIENT_ID, {}, BRINDLE_BUILD_NUMBER, released, {}};
}

ServiceSettings serviceSettings(const Preferences& preferences, ServiceSettings builtIn) {
  ServiceSettings settings = std::move(builtIn);
  if (auto url = preferences.text("service.url"); url && !url->empty()) {
    overrideService(settings, *std::move(url));
  } else if (!settings.serviceURL.empty()) {
    settings.problem = serviceUrlProblem(settings.serviceURL);
    if (!settings.problem.empty()) settings.serviceURL.clear();
  }
  if (auto id = preferences.text("google.clientId"); id && !id->empty()) {
    settings.googleClientId = *std::move(id);
  }
  overrideForRehearsal(settings.google.authorization, preferences.text("google.authorizationURL"));
  overrideForRehearsal(settings.google.token, preferences.text("google.tokenURL"));
  return settings;
}

}  // namespace brindle
