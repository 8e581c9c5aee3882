#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/http.h"
#include "service/answer_class.h"
#include "service/endpoints.h"
#include "service/session.h"

namespace brindle {

/// One request to the service, before it has an address and a token.
struct ServiceRequest {
  HttpRequest::Method method = HttpRequest::Method::post;
  std::string path;         ///< below the base URL, never absolute
  std::string contentType;  ///< empty: no body
  Bytes body;
  std::string bodyFile;             ///< sent in place of `body`
  std::vector<HttpHeader> headers;  ///< after the usual ones
  Duration timeout = endpoints::usualTimeout;
  bool reload = false;  ///< no cache may answer
  bool needsToken = true;
};

struct ServiceAnswer {
  AnswerClass answer = AnswerClass::failed;
  int status = 0;         ///< 0: no answer
  long milliseconds = 0;  ///< from sending to the answer
  Bytes body;
  std::string problem;  ///< of status 0, for a private log argument
};

/// Builds and sends requests to the one service by the rules that all of them share. Main thread
/// only.
class ServiceClient {
 public:
  /// `serviceURL` is the base; see `serviceUrlProblem`. The http and the sessions outlive it.
  ServiceClient(Http& http, const SessionSource& sessions, std::string serviceURL);

  /// The request as it goes out: "Authorization" first when somebody is signed in, then
  /// "Content-Type". Nothing when it needs a token and there is none.
  std::optional<HttpRequest> build(const ServiceRequest& request) const;
  /// Empty, and nothing sent, when `build` gives nothing. `done` by the rules of `Http::send`.
  [[nodiscard]] Subscription send(const ServiceRequest& request,
                                  std::function<void(ServiceAnswer)> done);
  /// An answer as it came, classified.
  static ServiceAnswer judge(HttpAnswer answer);

  const std::string& serviceURL() const { return serviceURL_; }

 private:
  Http& http_;
  const SessionSource& sessions_;
  std::string serviceURL_;
};

/// Why a base URL cannot be used, for a person; empty when it can. Plain http is for loopback only.
std::string serviceUrlProblem(std::string_view url);

}  // namespace brindle
