#include "service/service_client.h"

#include <utility>

namespace brindle {

ServiceClient::ServiceClient(Http& http, const SessionSource& sessions, std::string serviceURL)
    : http_(http), sessions_(sessions), serviceURL_(std::move(serviceURL)) {
  while (serviceURL_.ends_with('/')) serviceURL_.pop_back();
}

std::optional<HttpRequest> ServiceClient::build(const ServiceRequest& request) const {
  const std::optional<Session>& session = sessions_.session();
  if (request.needsToken && !session) return std::nullopt;
  HttpRequest out;
  out.method = request.method;
  out.url = serviceURL_ + "/" + request.path;
  if (session) out.headers.push_back({"Authorization", "Bearer " + session->token});
  if (!request.contentType.empty()) out.headers.push_back({"Content-Type", request.contentType});
  out.headers.insert(out.headers.end(), request.headers.begin(), request.headers.end());
  out.body = request.body;
  out.bodyFile = request.bodyFile;
  out.timeout = request.timeout;
  out.reload = request.reload;
  return out;
}

Subscription ServiceClient::send(const ServiceRequest& request,
                                 std::function<void(ServiceAnswer)> done) {
  auto built = build(request);
  if (!built) return {};
  return http_.send(std::move(*built), [done = std::move(done)](HttpAnswer answer) {
    done(judge(std::move(answer)));
  });
}

ServiceAnswer ServiceClient::judge(HttpAnswer answer) {
  return {classify(answer.status), answer.status, millisecondsOf(answer.elapsed),
          std::move(answer.body), std::move(answer.problem)};
}

std::string serviceUrlProblem(std::string_view url) {
  if (httpUrlAllowed(url)) return {};
  return "The service's address must begin with https:// (http:// for this machine only).";
}

}  // namespace brindle
