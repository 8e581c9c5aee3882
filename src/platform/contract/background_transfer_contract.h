#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "platform/background_transfer.h"
#include "testing/scripted_service.h"

namespace brindle {

/// A backend offers: `launch()`, a run of the program whose transfers it gives, `quit()`, its end,
/// the `service` that they reach, `url()` of that service, `put(name, bytes)` for a body file,
/// whose path it gives back, and `until(condition)`.
template <class Backend>
class BackgroundTransferContract : public testing::Test {
 protected:
  using Results = std::vector<TransferResult>;

  BackgroundTransfer& launch(Results& results) {
    BackgroundTransfer& transfer = backend.launch();
    const std::size_t before = results.size();
    transfer.start([&](const TransferResult& result) { results.push_back(result); });
    EXPECT_EQ(results.size(), before) << "delivered inline";
    return transfer;
  }
  HttpRequest upload(const std::string& content) {
    HttpRequest request;
    request.method = HttpRequest::Method::post;
    request.url = backend.url() + "/api/watch/pending";
    request.headers = {{"Authorization", "Bearer token"}, {"Content-Type", "application/json"}};
    request.bodyFile = backend.put("body-" + std::to_string(++bodies_), bytesOf(content));
    return request;
  }
  std::vector<std::string> unfinished(BackgroundTransfer& transfer) {
    std::optional<std::vector<std::string>> all;
    transfer.unfinished([&](std::vector<std::string> got) { all = std::move(got); });
    EXPECT_FALSE(all) << "delivered inline";
    EXPECT_TRUE(backend.until([&] { return all.has_value(); }));
    return all.value_or(std::vector<std::string>{});
  }

  Backend backend;
  int bodies_ = 0;
};
TYPED_TEST_SUITE_P(BackgroundTransferContract);

TYPED_TEST_P(BackgroundTransferContract, WholeBodiesArriveAndEveryAnswerIsToldOnce) {
  typename TestFixture::Results results;
  BackgroundTransfer& transfer = this->launch(results);
  const std::string large(300'000, '\x01');
  this->backend.service.once("api/watch/pending",
                             {.status = 404, .body = "\"no\xc3\xa9\n\"", .held = true});
  const std::string label = "watch|9F|12|/a \"path\"\n";
  ASSERT_TRUE(transfer.send(this->upload(large), label));
  ASSERT_TRUE(this->backend.until([&] { return this->backend.service.held() == 1; }));
  EXPECT_EQ(this->unfinished(transfer), std::vector{label});
  EXPECT_EQ(this->backend.service.requests().front().text(), large);
  EXPECT_EQ(this->backend.service.requests().front().header("Authorization"), "Bearer token");
  this->backend.service.release();
  ASSERT_TRUE(this->backend.until([&] { return results.size() == 1; }));
  EXPECT_EQ(results[0].description, label);
  EXPECT_EQ(results[0].answer.status, 404);
  EXPECT_EQ(textOf(results[0].answer.body), "\"no\xc3\xa9\n\"");
  ASSERT_TRUE(transfer.send(this->upload("next"), label)) << "one description, several times";
  ASSERT_TRUE(transfer.send(this->upload("next"), label));
  ASSERT_TRUE(this->backend.until([&] { return results.size() == 3; }));
  EXPECT_TRUE(this->unfinished(transfer).empty());
  EXPECT_EQ(this->backend.service.requests().size(), 3u);
  EXPECT_TRUE(transfer.report().answered);
}

TYPED_TEST_P(BackgroundTransferContract, WhatCannotBeHandedOverIsRefusedAndNoAnswerIsStatusZero) {
  typename TestFixture::Results results;
  BackgroundTransfer& transfer = this->launch(results);
  HttpRequest request = this->upload("body");
  request.url = "http://example.org/";
  EXPECT_FALSE(transfer.send(request, "address"));
  request = this->upload("body");
  request.bodyFile += "-missing";
  EXPECT_FALSE(transfer.send(request, "file"));
  this->backend.service.always("api", {.copies = 0});
  request = this->upload("body");
  request.timeout = std::chrono::milliseconds(400);
  ASSERT_TRUE(transfer.send(request, "silence"));
  ASSERT_TRUE(this->backend.until([&] { return !results.empty(); }));
  EXPECT_EQ(results[0].description, "silence");
  EXPECT_EQ(results[0].answer.status, 0);
  EXPECT_NE(results[0].answer.problem, "");
  EXPECT_GE(results[0].answer.elapsed, request.timeout);
}

TYPED_TEST_P(BackgroundTransferContract, TheyGoOnWithoutTheProgramUnlessCancelled) {
  typename TestFixture::Results first;
  typename TestFixture::Results second;
  ScriptedService& service = this->backend.service;
  service.always("api", {.held = true});
  BackgroundTransfer& transfer = this->launch(first);
  for (const char* label : {"stays", "goes", "goes later"}) {
    ASSERT_TRUE(transfer.send(this->upload(label), label));
  }
  ASSERT_TRUE(this->backend.until([&] { return service.held() == 3; }));
  transfer.cancel("goes");
  EXPECT_EQ(this->unfinished(transfer).size(), 2u);
  this->backend.quit();

  BackgroundTransfer& again = this->launch(second);
  auto left = this->unfinished(again);
  std::ranges::sort(left);
  EXPECT_EQ(left, (std::vector<std::string>{"goes later", "stays"}));
  again.cancel("goes later");
  service.usual("api");
  service.releaseAll();
  ASSERT_TRUE(this->backend.until([&] { return !second.empty(); }));
  ASSERT_TRUE(again.send(this->upload("last"), "last"));
  ASSERT_TRUE(this->backend.until([&] { return second.size() == 2; }));
  EXPECT_EQ(second[0].description, "stays");
  EXPECT_EQ(second[1].description, "last");
  EXPECT_TRUE(first.empty()) << "its program is gone";
  EXPECT_EQ(service.requests().size(), 4u);
}

REGISTER_TYPED_TEST_SUITE_P(BackgroundTransferContract, WholeBodiesArriveAndEveryAnswerIsToldOnce,
                            WhatCannotBeHandedOverIsRefusedAndNoAnswerIsStatusZero,
                            TheyGoOnWithoutTheProgramUnlessCancelled);

}  // namespace brindle
