#include "service/push_registrar.h"

#include <algorithm>
#include <array>

#include "base/json_writer.h"

namespace brindle {

Duration pushRetryWait(std::size_t failures) {
  using namespace std::chrono_literals;
  static constexpr std::array<Duration, 7> waits{2s, 4s, 8s, 16s, 32s, 60s, 600s};
  return waits[std::min(failures, waits.size() - 1)];
}

void PushRegistrar::setToken(std::string token) {
  token_ = std::move(token);
  tokenKnown_ = true;
  sync();
}

void PushRegistrar::setWanted(bool wanted) {
  wanted_ = wanted;
  sync();
}

PushRegistrar::Standing PushRegistrar::registered() const {
  return {parts_.defaults.text(tokenKey).value_or(""), parts_.defaults.text(emailKey).value_or("")};
}

void PushRegistrar::sync() {
  const auto& session = parts_.account.session();
  if (request_ || !session || !tokenKnown_) return;
  retry_.cancel();
  const Standing now = registered();
  const bool wanted = wanted_ && !token_.empty();
  const Standing next = wanted ? Standing{token_, session->email} : Standing{};
  // Under another account's e-mail only that account could withdraw it.
  const bool mineToWithdraw = now.second == session->email;
  if (now == next || refused_ == next || (!wanted && !mineToWithdraw)) return;
  std::string body;
  JsonWriter out(body);
  out.beginObject().field("deviceId", parts_.deviceId);
  if (wanted) {
    const std::string name = parts_.machine.name();
    out.field("token", token_)
        .field("platform", "macos")
        .field("deviceName", name.empty() ? std::string("Mac") : name);
  }
  out.endObject();
  post(wanted ? "register" : "unregister", std::move(body), next);
}

void PushRegistrar::post(std::string_view action, std::string body, Standing standing) {
  ServiceRequest request;
  request.path = std::string(endpoints::push) + std::string(action);
  request.contentType = std::string(endpoints::json);
  request.body = bytesOf(body);
  request.timeout = endpoints::pushTimeout;
  request.reload = true;
  request_ = parts_.client.send(request, lifetime_.guard([this, standing](ServiceAnswer answer) {
    request_ = {};
    answered(standing, answer.answer);
  }));
}

void PushRegistrar::answered(const Standing& standing, AnswerClass answer) {
  if (answer == AnswerClass::failed) {
    retry_ = parts_.scheduler.after(pushRetryWait(failures_++), [this] { sync(); });
    return;
  }
  failures_ = 0;
  const bool withdrawn = standing == Standing{};
  if (answer == AnswerClass::refused && !withdrawn) refused_ = standing;
  // A service that refuses to withdraw knows nothing of us.
  if (answer == AnswerClass::done || withdrawn) remember(standing);
  sync();  // something may have changed meanwhile
}

void PushRegistrar::remember(const Standing& standing) {
  const auto text = [](const std::string& value) {
    return value.empty() ? std::nullopt : std::optional<PreferenceValue>(value);
  };
  std::optional<PreferenceValue> at;
  if (!standing.first.empty()) at = secondsSince1970(parts_.scheduler.wallTime());
  // When this fails the registration is only repeated.
  if (!parts_.defaults.change({{std::string(tokenKey), text(standing.first)},
                               {std::string(emailKey), text(standing.second)},
                               {std::string(atKey), at}})) {
    refused_ = standing;
  }
}

}  // namespace brindle
