#include "service/service_client.h"

#include <gtest/gtest.h>

#include <array>

#include "platform/memory/files_memory.h"
#include "platform/memory/http_memory.h"
#include "testing/virtual_scheduler.h"

namespace brindle {
namespace {

TEST(AnswerClassTest, StatusesAtTheEdgesOfTheClasses) {
  struct Case {
    int status;
    std::string_view name;
  };
  constexpr std::array cases{
      Case{200, "done"},    Case{299, "done"},    Case{300, "failed"},  Case{199, "failed"},
      Case{400, "refused"}, Case{401, "refused"}, Case{402, "refused"}, Case{403, "refused"},
      Case{404, "refused"}, Case{405, "refused"}, Case{406, "failed"},  Case{408, "failed"},
      Case{409, "refused"}, Case{410, "refused"}, Case{411, "failed"},  Case{413, "refused"},
      Case{422, "refused"}, Case{429, "failed"},  Case{499, "failed"},  Case{500, "failed"},
      Case{503, "failed"},  Case{0, "failed"},    Case{-1, "failed"}};
  for (const Case& each : cases) {
    EXPECT_EQ(nameOf(classify(each.status)), each.name) << each.status;
  }
}

TEST(HttpUrlTest, PlainHttpIsForThisMachineOnly) {
  struct Case {
    std::string_view url;
    bool allowed, loopback;
  };
  constexpr std::array cases{Case{"https://alerts.example", true, false},
                             Case{"https://localhost:1/x", true, true},
                             Case{"http://127.0.0.1:8080/api", true, true},
                             Case{"http://[::1]:8080", true, true},
                             Case{"http://localhost", true, true},
                             Case{"http://alerts.example", false, false},
                             Case{"http://127.0.0.1.example", false, false},
                             Case{"http://localhost@alerts.example", false, false},
                             Case{"http://[::1].example", false, false},
                             Case{"http://alerts.example?localhost", false, false},
                             Case{"https://a b", false, false},
                             Case{"https://a\r\nX: y", false, false},
                             Case{"https://", false, false},
                             Case{"file:///etc/passwd", false, false},
                             Case{"", false, false}};
  for (const Case& each : cases) {
    EXPECT_EQ(httpUrlAllowed(each.url), each.allowed) << each.url;
    EXPECT_EQ(isLoopbackUrl(each.url), each.loopback) << each.url;
    EXPECT_EQ(serviceUrlProblem(each.url).empty(), each.allowed) << each.url;
  }
}

class OneSession final : public SessionSource {
 public:
  const std::optional<Session>& session() const override { return now; }
  [[nodiscard]] Subscription onSessionChange(std::function<void()>) override { return {}; }
  std::optional<Session> now;
};

TEST(ServiceClientTest, WithoutATokenNothingReachesTheNetwork) {
  VirtualScheduler scheduler;
  MemoryFiles files;
  MemoryHttp http(scheduler, files);
  OneSession sessions;
  ServiceClient client(http, sessions, "https://alerts.example/base/");
  std::vector<HttpRequest> seen;
  http.setServer([&](const MemoryRequest& got, auto answer) {
    seen.push_back(got.request);
    scheduler.post([answer] { answer({409, bytesOf("{}"), {}, {}}); });
  });
  std::vector<ServiceAnswer> answers;
  const auto send = [&](const ServiceRequest& request) {
    Subscription sent = client.send(request, [&](ServiceAnswer got) { answers.push_back(got); });
    scheduler.run();
    return static_cast<bool>(sent);
  };
  ServiceRequest request;
  request.path = "api/watch/beat";
  request.contentType = "application/json";
  request.headers.push_back({"X-Brindle-Alert", "1"});
  EXPECT_FALSE(send(request));
  EXPECT_TRUE(seen.empty());

  sessions.now = Session{"t0k", "a@b.example", "Email", {}, {}};
  EXPECT_TRUE(send(request));
  ASSERT_EQ(seen.size(), 1U);
  EXPECT_EQ(seen[0].url, "https://alerts.example/base/api/watch/beat");
  EXPECT_EQ(seen[0].headers, (std::vector<HttpHeader>{{"Authorization", "Bearer t0k"},
                                                      {"Content-Type", "application/json"},
                                                      {"X-Brindle-Alert", "1"}}));
  ASSERT_EQ(answers.size(), 1U);
  EXPECT_EQ(answers[0].answer, AnswerClass::refused);
  EXPECT_EQ(answers[0].status, 409);

  http.setServer([](const MemoryRequest&, auto) {});
  EXPECT_TRUE(send(request));
  Subscription waits =
      client.send(request, [&](ServiceAnswer got) { answers.push_back(std::move(got)); });
  scheduler.advance(std::chrono::seconds(60));
  ASSERT_EQ(answers.size(), 2U) << "of the two, one was given up";
  EXPECT_EQ(answers[1].status, 0);
  EXPECT_EQ(answers[1].milliseconds, 60'000);
}

}  // namespace
}  // namespace brindle
