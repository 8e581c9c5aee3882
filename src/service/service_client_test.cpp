#include "service/service_client.h"

#include <gtest/gtest.h>

#include <array>
#include <map>

#include "testing/service_world.h"

namespace brindle {
namespace {

TEST(AnswerClassTest, StatusesAtTheEdgesOfTheClasses) {
  const std::map<std::string_view, std::vector<int>> classes = {
      {"done", {200, 299}},
      {"refused", {400, 401, 402, 403, 404, 405, 409, 410, 413, 422}},
      {"failed", {-1, 0, 199, 300, 406, 408, 411, 429, 499, 500, 503}}};
  for (const auto& [name, statuses] : classes) {
    for (const int status : statuses) EXPECT_EQ(nameOf(classify(status)), name) << status;
  }
}

TEST(HttpUrlTest, PlainHttpIsForThisMachineOnly) {
  struct Case {
    std::string_view url;
    bool allowed, loopback;
  };
  constexpr std::array cases{Case{"https://alerts.example", true, false},
                             Case{"https://localhost:1/x", true, true},
                             Case{"http://[::1]:8080", true, true},
                             Case{"http://alerts.example", false, false},
                             Case{"http://127.0.0.1.example", false, false},
                             Case{"http://localhost@alerts.example", false, false},
                             Case{"https://a\r\nX: y", false, false},
                             Case{"", false, false}};
  for (const Case& each : cases) {
    EXPECT_EQ(httpUrlAllowed(each.url), each.allowed) << each.url;
    EXPECT_EQ(isLoopbackUrl(each.url), each.loopback) << each.url;
    EXPECT_EQ(serviceUrlProblem(each.url).empty(), each.allowed) << each.url;
  }
}

TEST(ServiceClientTest, WithoutATokenNothingReachesTheNetwork) {
  ServiceWorld world;
  std::vector<ServiceAnswer> answers;
  const auto send = [&] {
    ServiceRequest request;
    request.path = "api/watch/beat";
    request.contentType = "application/json";
    request.headers.push_back({"X-Brindle-Alert", "1"});
    return world.client.send(request, [&](ServiceAnswer got) { answers.push_back(got); });
  };
  world.account.lock("eva");
  EXPECT_FALSE(send());
  EXPECT_TRUE(world.service.requests().empty());

  world.account.signIn("eva");
  world.service.always("api/watch/beat", {.copies = 0});
  const Subscription one = send();
  send().end();
  ASSERT_EQ(world.service.requests().size(), 2U);
  EXPECT_EQ(world.service.requests()[0].headers,
            (std::vector<HttpHeader>{{"Authorization", "Bearer token of eva"},
                                     {"Content-Type", "application/json"},
                                     {"X-Brindle-Alert", "1"}}));
  world.scheduler.advance(std::chrono::seconds(60));
  ASSERT_EQ(answers.size(), 1U) << "of the two, one was given up";
  EXPECT_EQ(answers[0].status, 0);
  EXPECT_EQ(answers[0].milliseconds, 60'000);
}

}  // namespace
}  // namespace brindle
