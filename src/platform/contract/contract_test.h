#pragma once

#include <gtest/gtest.h>

namespace brindle {

/// The plain fixture of a contract: a backend of its own for each test.
template <class Backend>
class ContractTest : public testing::Test {
 protected:
  Backend backend;
};

}  // namespace brindle
