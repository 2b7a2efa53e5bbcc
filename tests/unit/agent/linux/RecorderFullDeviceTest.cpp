#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "agent/Command.h"
#include "agent/Recorder.h"

namespace vesk::agent::VESK_FILE {
namespace {

/// Only this system has a device that is always full.
TEST(RecorderFullDeviceTest, TellsThatNothingFits) {
  Recorder recorder("/dev/full", "");
  try {
    recorder.add({Ticks{1}, bytesOf("x")});
    FAIL() << "the device took it";
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ(error.what(), "cannot write '/dev/full': No space left on device");
  }
}

}  // namespace
}  // namespace vesk::agent::VESK_FILE
