#include "platform/memory/http_memory.h"

namespace brindle {
namespace {

struct Exchange {
  Scheduler& scheduler;
  Duration begun;
  std::function<void(HttpAnswer)> done;
  Timer limit;

  /// The first answer counts, whatever comes after it.
  void answer(const std::shared_ptr<Exchange>& self, HttpAnswer answer) {
    if (!done) return;
    limit.cancel();
    if (answer.body.size() > Http::longestAnswer) answer = {0, {}, {}, "the answer is too long"};
    answer.elapsed = scheduler.awakeTime() - begun;
    scheduler.post([self, answer = std::move(answer)] {
      if (const auto tell = std::exchange(self->done, nullptr)) tell(answer);
    });
  }
};

}  // namespace

Subscription MemoryHttp::send(HttpRequest request, std::function<void(HttpAnswer)> done) {
  auto exchange =
      std::make_shared<Exchange>(Exchange{scheduler_, scheduler_.awakeTime(), std::move(done), {}});
  const auto fail = [&](std::string why) {
    exchange->answer(exchange, {0, {}, {}, std::move(why)});
    return Subscription([exchange] { exchange->done = nullptr; });
  };
  if (!httpUrlAllowed(request.url)) return fail("the address is not allowed");
  MemoryRequest seen{std::move(request), {}, {}};
  seen.body = seen.request.body;
  if (!seen.request.bodyFile.empty()) {
    auto content = files_.read(seen.request.bodyFile);
    if (!content) return fail("the body file cannot be read");
    seen.body = std::move(*content);
  }
  if (!server_) return fail("no connection");
  exchange->limit = scheduler_.after(seen.request.timeout, [exchange] {
    exchange->answer(exchange, {0, {}, {}, "timed out"});
  });
  server_(seen, [exchange](HttpAnswer answer) { exchange->answer(exchange, std::move(answer)); });
  return Subscription([exchange] {
    exchange->done = nullptr;
    exchange->limit.cancel();
  });
}

}  // namespace brindle
