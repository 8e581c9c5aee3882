#pragma once

#include <string>
#include <vector>

#include "platform/contract/contract_test.h"
#include "platform/push_registration.h"

namespace brindle {

/// A backend offers: `push()`, `give(token)` and `takeBack()` for what the system says, `send` for
/// a message, and `until(condition)`, which runs the main loop. There is a token at first.
template <class Backend>
class PushRegistrationContract : public ContractTest<Backend> {
 protected:
  [[nodiscard]] Subscription listen() {
    return this->backend.push().listen(
        {[this](const std::string& token) { said.push_back(token); },
         [this](const std::string&) { said.push_back("none"); },
         [this](const Bytes& message) { said.emplace_back(message.begin(), message.end()); }});
  }
  bool says(const std::string& what) {
    return this->backend.until([&] { return !said.empty() && said.back() == what; });
  }

  std::vector<std::string> said;
};
TYPED_TEST_SUITE_P(PushRegistrationContract);

TYPED_TEST_P(PushRegistrationContract, TokensAndMessagesComeFromTheLoopWhileSomebodyListens) {
  auto& test = *this;
  test.backend.give("https://push.test/1");
  const auto subscription = test.listen();
  EXPECT_TRUE(test.said.empty()) << "delivered inline";
  ASSERT_TRUE(test.says("https://push.test/1"));
  EXPECT_TRUE(test.backend.push().report().answered);
  test.backend.send(bytesOf(std::string("a\0b", 3)));
  ASSERT_TRUE(test.says(std::string("a\0b", 3)));
  test.backend.give("https://push.test/2");
  ASSERT_TRUE(test.says("https://push.test/2"));
  test.backend.takeBack();
  ASSERT_TRUE(test.says("none"));
  EXPECT_FALSE(test.backend.push().report().answered);
}

REGISTER_TYPED_TEST_SUITE_P(PushRegistrationContract,
                            TokensAndMessagesComeFromTheLoopWhileSomebodyListens);

}  // namespace brindle
