#pragma once

#include <gtest/gtest.h>

#include "macos/frameworks/Frameworks.h"

namespace vesk::testing {

/// A system as it comes, which must have got back every object at the end of the test.
class SystemFixture : public ::testing::Test {
 protected:
  SystemFixture() { system_ = {}; }
  ~SystemFixture() override {
    EXPECT_EQ(fakes::mac::Object::alive, aliveBefore_);
    EXPECT_TRUE(system_.pools.empty() && !system_.poolsInDisorder);
  }

  fakes::mac::System& system_ = fakes::mac::system();
  int aliveBefore_ = fakes::mac::Object::alive;
};

}  // namespace vesk::testing
