#include "support/AlertFixture.h"

namespace vesk::wayland::alert::VESK_FILE {
namespace {

class WlAlertLookTest : public testing::AlertFixture, public ::testing::WithParamInterface<int> {
 protected:
  testing::WlWindow window_;
};

TEST_P(WlAlertLookTest, IsPaintedInThePixelsOfTheScreen) {
  sway_.command("output HEADLESS-1 scale " + std::to_string(GetParam()));
  ask([this] {
    pass(settled);
    hand_.moveTo({400, 300});
    const QImage picture = testing::wlPicture();
    const auto area = surfaces().front().area;
    ASSERT_EQ(picture.size(), QSize(1920, 1080));
    // Every other row and column differs somewhere from its neighbour: nothing was enlarged.
    int fine = 0;
    for (int y = area.y; y + 1 < area.bottom(); y += 2) {
      for (int x = area.x; x + 1 < area.right(); x += 2)
        fine += picture.pixel(x, y) != picture.pixel(x + 1, y) ? 1 : 0;
    }
    EXPECT_GT(fine, 200);
    alerts_->abortModal();
  });
}

INSTANTIATE_TEST_SUITE_P(AtWholeScales, WlAlertLookTest, ::testing::Values(1, 2));

}  // namespace
}  // namespace vesk::wayland::alert::VESK_FILE
