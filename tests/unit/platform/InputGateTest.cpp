#include "platform/InputGate.h"

#include <gtest/gtest.h>

namespace vesk {
namespace {

TEST(InputGateTest, IsOpenOnceItWasOpenedAsOftenAsClosed) {
  InputGate gate;
  EXPECT_TRUE(gate.isOpen());
  gate.close();
  gate.close();
  EXPECT_FALSE(gate.isOpen());
  gate.open();
  EXPECT_FALSE(gate.isOpen());
  gate.open();
  EXPECT_TRUE(gate.isOpen());
}

}  // namespace
}  // namespace vesk
