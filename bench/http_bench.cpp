// http_bench [ROUNDS]: from a request handed to libcurl to its first byte at a server on this
// machine and to the answer on the main loop, on a kept connection and on a new one each time. The
// server has a thread of its own. Both sides read the same monotonic clock.

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <thread>
#include <vector>

#include "platform/linux/http_curl.h"
#include "platform/linux/scheduler_linux.h"
#include "testing/scripted_service_socket.h"

namespace brindle {
namespace {

Duration now() { return std::chrono::steady_clock::now().time_since_epoch(); }

/// The service on a thread of its own until this object goes.
class Server {
 public:
  Server() {
    const Duration offset = now() - loop_.awakeTime();
    service_.onRequest = [this, offset](const ScriptedRequest& request) {
      firstByte_ = (request.firstByte + offset).count();
    };
    thread_ = std::thread([this] { loop_.run(); });
  }
  ~Server() {
    loop_.stop();
    thread_.join();
  }
  std::string url() const { return socket_.url(); }
  Duration firstByte() const { return Duration(firstByte_.load()); }

 private:
  LinuxScheduler loop_;
  ScriptedService service_{loop_};
  ScriptedServiceSocket socket_{loop_, service_};
  std::atomic<std::int64_t> firstByte_ = 0;
  std::thread thread_;
};

struct Times {
  std::vector<double> sent, answered;  // milliseconds
};

void print(std::string_view how, std::string_view what, std::vector<double> times) {
  std::ranges::sort(times);
  fmt::print("{:<4} to {:<10} median {:6.3f} ms, p99 {:6.3f} ms\n", how, what,
             times[times.size() / 2], times[times.size() * 99 / 100]);
}

bool ask(Server& server, LinuxScheduler& loop, Http& http, Times& times) {
  HttpRequest request;
  request.method = HttpRequest::Method::post;
  request.url = server.url() + "/api/watch/pending";
  request.body = Bytes(400, 'x');
  int status = 0;
  const Duration begun = now();
  const Subscription sent = http.send(std::move(request), [&](HttpAnswer answer) {
    status = answer.status;
    loop.stop();
  });
  loop.run();
  times.answered.push_back(secondsOf(now() - begun) * 1000);
  times.sent.push_back(secondsOf(server.firstByte() - begun) * 1000);
  return status == 200;
}

bool run(int rounds) {
  Server server;
  LinuxScheduler loop;
  CurlHttp kept(loop);
  Times keptTimes, newTimes;
  bool good = ask(server, loop, kept, newTimes);
  for (int i = 0; i < rounds; ++i) {
    CurlHttp fresh(loop);
    good &= ask(server, loop, kept, keptTimes) && ask(server, loop, fresh, newTimes);
  }
  print("kept", "first byte", keptTimes.sent);
  print("kept", "answer", keptTimes.answered);
  print("new", "first byte", newTimes.sent);
  print("new", "answer", newTimes.answered);
  return good;
}

}  // namespace
}  // namespace brindle

int main(int argc, char** argv) {
  const int rounds = argc > 1 ? std::atoi(argv[1]) : 1000;
  return rounds > 0 && brindle::run(rounds) ? 0 : 1;
}
