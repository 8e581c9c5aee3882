#pragma once

#include <string>
#include <vector>

#include "platform/contract/contract_test.h"
#include "platform/web_sign_in.h"

namespace brindle {

/// A backend offers: `signIn()`, `comeBack(query)`, with which the person's browser follows the
/// redirect of the last page, `loseInterest()`, after which ten minutes have passed, and
/// `until(condition)`, which runs the main loop.
template <class Backend>
class WebSignInContract : public ContractTest<Backend> {
 protected:
  [[nodiscard]] Subscription begin() {
    WebSignInAsk ask{"com.corvane.test", "/oauth2redirect", [this](const std::string& uri) {
                       redirectUri = uri;
                       return "https://sign.in/?redirect=" + uri;
                     }};
    return this->backend.signIn().begin(std::move(ask),
                                        [this](WebSignInEnd end) { ends.push_back(end); });
  }
  bool ended(std::size_t count) {
    return this->backend.until([&] { return ends.size() >= count; });
  }

  std::string redirectUri;
  std::vector<WebSignInEnd> ends;
};
TYPED_TEST_SUITE_P(WebSignInContract);

TYPED_TEST_P(WebSignInContract, ARedirectIsToldOnceWithItsWholeLink) {
  auto& test = *this;
  const auto subscription = test.begin();
  ASSERT_FALSE(test.redirectUri.empty()) << "asked inline";
  EXPECT_TRUE(test.backend.signIn().report().answered);
  test.backend.comeBack("code=a%2Fb&state=c");
  ASSERT_TRUE(test.ended(1));
  EXPECT_EQ(test.ends[0].how, WebSignInEnd::How::redirected);
  EXPECT_EQ(test.ends[0].link, test.redirectUri + "?code=a%2Fb&state=c");
  EXPECT_EQ(test.ends[0].redirectUri, test.redirectUri);
  test.backend.loseInterest();
  test.backend.until([] { return true; });
  EXPECT_EQ(test.ends.size(), 1U);
}

TYPED_TEST_P(WebSignInContract, ANewOneAndTenMinutesCancelAndTheEndOfTheSubscriptionIsSilent) {
  auto& test = *this;
  const auto first = test.begin();
  auto second = test.begin();
  EXPECT_TRUE(test.ends.empty()) << "delivered inline";
  ASSERT_TRUE(test.ended(1));
  EXPECT_EQ(test.ends[0].how, WebSignInEnd::How::cancelled);
  second.end();
  test.backend.loseInterest();
  const auto third = test.begin();
  test.backend.loseInterest();
  ASSERT_TRUE(test.ended(2));
  EXPECT_EQ(test.ends[1].how, WebSignInEnd::How::cancelled);
  EXPECT_EQ(test.ends.size(), 2U);
}

REGISTER_TYPED_TEST_SUITE_P(WebSignInContract, ARedirectIsToldOnceWithItsWholeLink,
                            ANewOneAndTenMinutesCancelAndTheEndOfTheSubscriptionIsSilent);

}  // namespace brindle
