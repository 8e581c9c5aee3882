#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "platform/files.h"
#include "platform/http.h"
#include "platform/scheduler.h"

namespace brindle {

/// What a server in memory is given: the request, with the bytes of its body wherever they lay.
struct MemoryRequest {
  HttpRequest request;
  Bytes body;
  std::string session;  ///< identifier of the background session; empty for an ordinary request
};

/// The far end. It may answer at once, later, twice (the first counts) or never; an answer with
/// status 0 is a cut connection.
using MemoryServer =
    std::function<void(const MemoryRequest& request, std::function<void(HttpAnswer)> answer)>;

/// Requests that go to a function instead of a network. Time-outs are kept on the scheduler's awake
/// time.
class MemoryHttp final : public Http {
 public:
  MemoryHttp(Scheduler& scheduler, Files& files) : scheduler_(scheduler), files_(files) {}

  [[nodiscard]] Subscription send(HttpRequest request,
                                  std::function<void(HttpAnswer)> done) override;
  ServiceReport report() const override {
    return {"network", "memory", static_cast<bool>(server_), "answers come from a function"};
  }

  /// Without one, no connection is made.
  void setServer(MemoryServer server) { server_ = std::move(server); }

 private:
  Scheduler& scheduler_;
  Files& files_;
  MemoryServer server_;
};

}  // namespace brindle
