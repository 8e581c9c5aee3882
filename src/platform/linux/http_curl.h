#pragma once

#include <memory>
#include <string>

#include "platform/http.h"
#include "platform/posix/main_loop.h"

namespace brindle {

/// Requests through libcurl on the main loop: HTTP/1.1 over a few connections that are kept. While
/// nothing is under way it waits for nothing, not even for kept connections. The loop outlives it.
class CurlHttp final : public Http {
 public:
  /// `authorities` is a file of certificates to trust in place of the system's; empty: the
  /// system's.
  explicit CurlHttp(MainLoop& loop, std::string authorities = {});
  CurlHttp(const CurlHttp&) = delete;
  CurlHttp& operator=(const CurlHttp&) = delete;
  ~CurlHttp() override;

  [[nodiscard]] Subscription send(HttpRequest request,
                                  std::function<void(HttpAnswer)> done) override;
  ServiceReport report() const override;

 private:
  class Engine;
  std::shared_ptr<Engine> engine_;
};

}  // namespace brindle
