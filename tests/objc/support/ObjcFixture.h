#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <map>
#include <string>

#include "macos/frameworks/Frameworks.h"

namespace vesk::testing {

/// The stand-ins as they are at first, and an autorelease pool around each test. At its end every
/// object must have been let go of.
class ObjcFixture : public ::testing::Test {
 protected:
  ObjcFixture();
  ~ObjcFixture() override;

  /// Runs the main loop until `condition` holds; whether it did in time.
  static bool runUntil(const std::function<bool()>& condition);
  static bool runUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit);

  /// What the test's own code has borrowed is given back.
  void drainPool();

  /// How many objects there are of each class, those left out of which there is one for good.
  static std::map<std::string, long> census();

  fakes::mac::System& system_ = fakes::mac::system();

 private:
  std::map<std::string, long> before_;
  void* pool_;
};

}  // namespace vesk::testing
