#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "platform/http.h"
#include "testing/scripted_service.h"

namespace brindle {

/// A backend offers: `http()`, the `service` that its requests reach, `url()` of that service,
/// `put(name, bytes)` for a body file, whose path it gives back, and `until(condition)`, which lets
/// at least a second pass before it gives up.
template <class Backend>
class HttpContract : public testing::Test {
 protected:
  using Answers = std::vector<HttpAnswer>;

  HttpRequest to(const std::string& path) {
    HttpRequest request;
    request.method = HttpRequest::Method::post;
    request.url = backend.url() + "/" + path;
    request.timeout = std::chrono::milliseconds(500);
    return request;
  }
  [[nodiscard]] Subscription send(HttpRequest request, Answers& answers) {
    const std::size_t before = answers.size();
    auto sent = backend.http().send(std::move(request),
                                    [&](HttpAnswer got) { answers.push_back(std::move(got)); });
    EXPECT_EQ(answers.size(), before) << "delivered inline";
    return sent;
  }
  HttpAnswer answerTo(HttpRequest request) {
    Answers answers;
    const Subscription sent = send(std::move(request), answers);
    EXPECT_TRUE(backend.until([&] { return !answers.empty(); }));
    return answers.empty() ? HttpAnswer{} : answers.front();
  }
  ScriptedService& service() { return backend.service; }
  ScriptedRequest last() {
    EXPECT_FALSE(service().requests().empty());
    return service().requests().empty() ? ScriptedRequest{} : service().requests().back();
  }

  Backend backend;
};
TYPED_TEST_SUITE_P(HttpContract);

TYPED_TEST_P(HttpContract, MethodHeadersAndBodyArriveAsTheyAre) {
  std::string every;
  for (int byte = 0; byte < 256; ++byte) every += static_cast<char>(byte);
  HttpRequest request = this->to("api/watch/pending");
  request.headers = {{"Authorization", "Bearer t"}, {"Content-Type", "a/b"}};
  request.body = bytesOf(every);
  this->service().once("api/watch/pending", {.status = 201, .body = every});
  const HttpAnswer answer = this->answerTo(request);
  EXPECT_EQ(answer.status, 201);
  EXPECT_EQ(answer.body, bytesOf(every));
  EXPECT_EQ(answer.problem, "");
  const ScriptedRequest seen = this->last();
  EXPECT_EQ(seen.method, "POST");
  EXPECT_EQ(seen.body, request.body);
  EXPECT_EQ(seen.header("content-type"), "a/b");
  EXPECT_EQ(seen.header("Authorization"), "Bearer t");
  EXPECT_EQ(seen.header("Expect"), "");

  // A body of a picture's size goes from its file, whatever `body` holds.
  const Bytes picture(3'000'000, 0xa5);
  request.bodyFile = this->backend.put("photo.jpg", picture);
  EXPECT_EQ(this->answerTo(request).status, 200);
  EXPECT_TRUE(this->last().body == picture);
  HttpRequest terms = this->to("api/terms");
  terms.method = HttpRequest::Method::get;
  EXPECT_TRUE(textOf(this->answerTo(terms).body).starts_with(R"({"version":)"));
  EXPECT_EQ(this->last().method, "GET");
}

TYPED_TEST_P(HttpContract, EveryStatusIsAnAnswerAndOnlyAWholeOneCounts) {
  for (const int status : {204, 301, 401, 429, 503}) {
    this->service().once("api/alert", {.status = status, .body = status == 204 ? "" : "{}"});
    EXPECT_EQ(this->answerTo(this->to("api/alert")).status, status);
  }
  const std::string longest(Http::longestAnswer, 'x');
  this->service().once("api/alert", {.body = longest});
  EXPECT_EQ(this->answerTo(this->to("api/alert")).body.size(), Http::longestAnswer);

  const std::size_t before = this->service().requests().size();
  for (const ScriptedReply& reply : std::vector<ScriptedReply>{
           {.body = longest + "x"}, {.cutAfter = 1}, {.status = 0}, {.copies = 0}}) {
    this->service().once("api/alert", reply);
    const HttpAnswer answer = this->answerTo(this->to("api/alert"));
    EXPECT_EQ(answer.status, 0);
    EXPECT_EQ(answer.body, Bytes{});
    EXPECT_NE(answer.problem, "");
  }
  EXPECT_EQ(this->service().requests().size(), before + 4);
}

TYPED_TEST_P(HttpContract, WhatIsNotAllowedNeverReachesTheNetwork) {
  HttpRequest elsewhere = this->to("api/alert");
  elsewhere.url = "http://192.0.2.1/api/alert";
  HttpRequest unreadable = this->to("api/alert");
  unreadable.bodyFile = this->backend.put("there", {}) + "-not";
  for (const HttpRequest& request : {elsewhere, unreadable}) {
    const HttpAnswer answer = this->answerTo(request);
    EXPECT_EQ(answer.status, 0);
    EXPECT_NE(answer.problem, "");
  }
  EXPECT_TRUE(this->service().requests().empty());
}

TYPED_TEST_P(HttpContract, AnswersComeInAnyOrderOnceAndNotAfterTheEnd) {
  this->service().always("api/watch", {.copies = 2, .held = true});
  std::vector<HttpAnswer> first, second, ended;
  const Subscription one = this->send(this->to("api/watch/pending"), first);
  const Subscription two = this->send(this->to("api/watch/beat"), second);
  Subscription three = this->send(this->to("api/watch/cancel"), ended);
  ASSERT_TRUE(this->backend.until([&] { return this->service().held() == 3; }));
  three.end();
  const auto& seen = this->service().requests();
  for (std::size_t i = 3; i-- > 0;) {
    const bool beat = seen[i].path == "api/watch/beat";
    this->service().release(i);
    EXPECT_TRUE(this->backend.until([&] { return !beat || !second.empty(); }));
  }
  EXPECT_TRUE(this->backend.until([&] { return !first.empty(); }));
  this->service().usual("api/watch");
  EXPECT_EQ(this->answerTo(this->to("api/watch/beat")).status, 200);
  EXPECT_EQ(first.size() + second.size(), 2u);
  EXPECT_TRUE(ended.empty());
  EXPECT_TRUE(this->backend.http().report().answered);
}

REGISTER_TYPED_TEST_SUITE_P(HttpContract, MethodHeadersAndBodyArriveAsTheyAre,
                            EveryStatusIsAnAnswerAndOnlyAWholeOneCounts,
                            WhatIsNotAllowedNeverReachesTheNetwork,
                            AnswersComeInAnyOrderOnceAndNotAfterTheEnd);

}  // namespace brindle
