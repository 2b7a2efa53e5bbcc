#include "platform/linux/x11/beneath/FramesBeneath.h"

#include <optional>

#include "support/StackFixture.h"

namespace vesk::x11::beneath::VESK_FILE {
namespace {

class FramesBeneathTest : public testing::StackFixture {
 protected:
  FramesBeneathTest() {
    windows.choose(stack, {{0, 0, 640, 480}});
    frames.emplace(connection, windows, PixelRect{0, 0, 640, 480});
  }

  /// The left window is one whose frame, outside that part of it, only a compositor has.
  bool look(const PixelRect& kept) {
    auto all = stack.windows();
    all.front().kept = kept;
    return frames->look(all, {});
  }

  std::optional<std::uint32_t> colour() { return windows.find(left.id())->frameColour().colour(); }

  std::optional<FramesBeneath> frames;
};

TEST_F(FramesBeneathTest, AreLookedAtWhereNoOtherWindowHidesThem) {
  right.move(-50, 100);
  stack.read();
  EXPECT_TRUE(look({0, 0, 200, 150}));
  EXPECT_EQ(colour(), 0xff0000U);
}

TEST_F(FramesBeneathTest, AreLookedAtWhereOnlyOwnWindowsAreThatCoverNothing) {
  EXPECT_TRUE(look({0, 20, 200, 180}));
  EXPECT_EQ(colour(), 0x0000ffU);
  EXPECT_FALSE(look({0, 20, 200, 180})) << "it is the same";
}

}  // namespace
}  // namespace vesk::x11::beneath::VESK_FILE
