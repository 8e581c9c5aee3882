#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "base/bytes.h"
#include "base/subscription.h"
#include "base/times.h"
#include "platform/service_report.h"

namespace brindle {

struct HttpHeader {
  std::string name;
  std::string value;
  bool operator==(const HttpHeader&) const = default;
};

/// One request (RFC 9110). Headers are sent in the order given.
struct HttpRequest {
  enum class Method { get, post };
  Method method = Method::get;
  std::string url;
  std::vector<HttpHeader> headers;
  Bytes body;
  std::string
      bodyFile;  ///< not empty: the body is this file's content, and `body` is not looked at
  Duration timeout = std::chrono::seconds(60);  ///< from sending to the whole answer
  bool reload = false;                          ///< no cache on this machine may answer
};

/// What came back. Status 0: no whole answer came (refused, cut off, timed out), and `problem` says
/// why, for a private log argument. A redirect (3xx) is an answer and is not followed.
struct HttpAnswer {
  int status = 0;
  Bytes body;  ///< at most `Http::longestAnswer`; a longer one is no answer
  Duration elapsed{};
  std::string problem;
};

/// Sends HTTP requests from the main loop. TLS certificates and host names are always verified.
/// Cookies, credentials and answers are not kept. Main thread only.
class Http {
 public:
  static constexpr std::size_t longestAnswer = 1024 * 1024;

  virtual ~Http() = default;

  /// Sending begins before this returns, as far as that is possible without waiting. `done` comes
  /// from the main loop, once; ending the subscription cancels the request, after which `done`
  /// does not come. A URL that is not allowed, or a body file that cannot be read, is no answer
  /// and never reaches the network.
  [[nodiscard]] virtual Subscription send(HttpRequest request,
                                          std::function<void(HttpAnswer)> done) = 0;
  virtual ServiceReport report() const = 0;
};

/// https everywhere; http for a loopback address only ("127.0.0.1", "[::1]", "localhost"). No user
/// name in the address, and none of the characters that RFC 3986 keeps out of one.
bool httpUrlAllowed(std::string_view url);
bool isLoopbackUrl(std::string_view url);

}  // namespace brindle
