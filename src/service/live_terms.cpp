#include "service/live_terms.h"

#include <utility>

#include "service/account_replies_json.h"

namespace brindle {
namespace {

constexpr const char* versionKey = "terms.live.version";
constexpr const char* termsKey = "terms.live.terms";
constexpr const char* privacyKey = "terms.live.privacy";
constexpr const char* minimumMacBuildKey = "terms.live.minimumMacBuild";
constexpr const char* checkedAtKey = "terms.live.checkedAt";
constexpr Duration day = std::chrono::hours(24);

}  // namespace

LiveTerms::LiveTerms(Services services, const std::string& serviceURL)
    : services_(services), client_(services_.http, services_.sessions, serviceURL) {
  const Preferences& kept = services_.preferences;
  version_ = kept.text(versionKey).value_or("");
  terms_ = kept.text(termsKey).value_or("");
  privacy_ = kept.text(privacyKey).value_or("");
  minimumMacBuild_ = kept.integer(minimumMacBuildKey);
}

void LiveTerms::start() {
  if (client_.serviceURL().empty()) return;
  fetch();
  armDaily();
}

void LiveTerms::armDaily() {
  // The wall clock counts the hours asleep; the awake one goes on when the clock is set back.
  const auto again = [this] { start(); };
  dailyAwake_ = services_.scheduler.after(day, again);
  dailyWall_ = services_.scheduler.atWallTime(
      services_.scheduler.wallTime() + std::chrono::duration_cast<std::chrono::microseconds>(day),
      again);
}

void LiveTerms::fetch(std::function<void()> done) {
  if (client_.serviceURL().empty()) {
    if (done) services_.scheduler.post(lifetime_.guard(std::move(done)));
    return;
  }
  if (done) waiting_.push_back(std::move(done));
  if (running()) return;
  ServiceRequest request;
  request.method = HttpRequest::Method::get;
  request.path = endpoints::terms;
  request.timeout = endpoints::termsTimeout;
  request.reload = true;
  request.needsToken = false;
  request_ = client_.send(request, [this](const ServiceAnswer& answer) { answered(answer); });
}

void LiveTerms::answered(const ServiceAnswer& answer) {
  request_.end();
  const auto reply =
      answer.status == 200 ? readTermsReply(textOf(answer.body)) : std::optional<TermsReply>();
  if (reply) {
    take(*reply);
  } else {
    services_.log.notice("terms: not fetched, HTTP %{public}ld", answer.status);
  }
  for (const auto& done : std::exchange(waiting_, {})) services_.scheduler.post(done);
}

void LiveTerms::take(const TermsReply& reply) {
  const bool differs = reply != TermsReply{version_, terms_, privacy_, minimumMacBuild_};
  version_ = reply.version;
  terms_ = reply.terms;
  privacy_ = reply.privacy;
  minimumMacBuild_ = reply.minimumMacBuild;
  std::optional<PreferenceValue> build;
  if (reply.minimumMacBuild) build = *reply.minimumMacBuild;
  const bool kept = services_.preferences.change(
      {{versionKey, version_},
       {termsKey, terms_},
       {privacyKey, privacy_},
       {minimumMacBuildKey, build},
       {checkedAtKey, secondsSince1970(services_.scheduler.wallTime())}});
  services_.log.notice("terms: fetched, version %{public}s, kept %{bool,public}d", version_, kept);
  if (differs) changed_.tell();
}

}  // namespace brindle
