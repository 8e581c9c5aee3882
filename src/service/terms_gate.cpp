#include "service/terms_gate.h"

#include "service/account_error.h"
#include "service/terms_version.h"

namespace brindle {
namespace {

constexpr const char* versionKey = "agreement.version";
constexpr const char* atKey = "agreement.at";

}  // namespace

std::string TermsGate::requiredVersion() const {
  return laterTermsVersion(std::string(builtInTermsVersion), services_.terms.version());
}

bool TermsGate::hasAgreed() const {
  const auto agreed = services_.preferences.text(versionKey);
  return agreed && coversTerms(*agreed, requiredVersion());
}

bool TermsGate::agree(const std::string& version) {
  return services_.preferences.change(
      {{versionKey, version}, {atKey, secondsSince1970(services_.scheduler.wallTime())}});
}

std::optional<std::string> TermsGate::refusal() const {
  return services_.sessions.session() ? signInRefusal() : std::nullopt;
}

std::optional<std::string> TermsGate::signInRefusal() const {
  if (hasAgreed()) return std::nullopt;
  const bool on = services_.guardOn && services_.guardOn();
  return std::string(accountMessage(AccountError::termsChanged, on));
}

std::string TermsGate::notice() const {
  const bool agreedOnce = services_.preferences.text(versionKey).has_value();
  return agreedOnce && !hasAgreed() ? std::string(termsUpdatedNotice) : std::string();
}

bool TermsGate::updateNeeded() const {
  return services_.terms.minimumMacBuild().value_or(0) > services_.build;
}

}  // namespace brindle
