#include <gtest/gtest.h>

#include <condition_variable>
#include <future>
#include <mutex>

#include "capture/Capturer.h"
#include "e2e/TwinDesktops.h"
#include "platform/SystemClock.h"
#include "platform/linux/LinuxProcesses.h"
#include "platform/linux/picture/X264Compression.h"
#include "platform/linux/x11/screen/XScreenCapture.h"
#include "platform/linux/x11/server/XDisplays.h"
#include "support/H264Decoder.h"
#include "support/Patience.h"
#include "support/WorkQueues.h"

namespace vesk::testing::VESK_FILE {
namespace {

using Kind = PresenceDesktop::Kind;

/// What a viewer sees of the captured desktop, decoded as it comes.
class Video {
 public:
  explicit Video(const x11::beneath::OwnWindows& ownWindows)
      : screenCapture_(ownWindows, watched_, connection_) {
    capturer_->onAccessUnit = [this](ByteView unit, Ticks) {
      const std::lock_guard lock(mutex_);
      picture_ = decoder_.decode(unit);
      failures_ += picture_ ? 0 : 1;
      arrived_.notify_all();
    };
    std::promise<std::exception_ptr> started;
    capturer_->start(30, 8000, [&](auto error) { started.set_value(error); });
    if (const auto error = started.get_future().get()) std::rethrow_exception(error);
  }
  ~Video() { capturer_->stop(); }
  Video(const Video&) = delete;
  Video& operator=(const Video&) = delete;

  /// The likeness of the last picture, once it is that good or a second has passed.
  double likeness(const std::vector<std::uint8_t>& luma, double enough) {
    std::unique_lock lock(mutex_);
    double best = 0;
    arrived_.wait_for(lock, std::chrono::seconds(1), [&] {
      if (picture_) best = psnr(*picture_, luma.data(), TwinDesktops::width);
      return best >= enough;
    });
    return best;
  }
  /// The last picture, in shades of grey.
  Pixels picture() {
    const std::lock_guard lock(mutex_);
    Pixels pixels;
    if (!picture_) return pixels;
    for (const std::uint32_t luma : picture_->pixels) pixels.push_back(luma * 0x010101U);
    return pixels;
  }
  int failures() {
    const std::lock_guard lock(mutex_);
    return failures_;
  }

 private:
  WorkQueues queues_;
  SystemClock clock_;
  LinuxProcesses processes_;
  stream::WatchedDisplay watched_;
  x11::server::XDisplays displays_;
  x11::server::Connection connection_;
  x11::screen::XScreenCapture screenCapture_;
  picture::X264Compression compression_;
  std::mutex mutex_;
  std::condition_variable arrived_;
  H264Decoder decoder_;
  std::optional<Luma> picture_;
  int failures_ = 0;
  std::shared_ptr<Capturer> capturer_ = std::make_shared<Capturer>(
      Capturer::Parts{queues_, clock_, processes_, displays_, screenCapture_, compression_});
};

std::vector<std::uint8_t> lumaOf(const Pixels& pixels) {
  std::vector<std::uint8_t> luma;
  luma.reserve(pixels.size());
  for (const std::uint32_t pixel : pixels) {
    luma.push_back(
        static_cast<std::uint8_t>(16.5 + (65.481 * (pixel >> 16 & 255) +
                                          128.553 * (pixel >> 8 & 255) + 24.966 * (pixel & 255)) /
                                             255));
  }
  return luma;
}

class LeftOutVideoTest : public ::testing::TestWithParam<Kind> {
 protected:
  static constexpr std::uint32_t windowColour = 0x40c040;
  static constexpr std::uint32_t barColour = 0x202020;
  /// The pointer is in the picture, and not on the other desktop's. A bar that is missing costs
  /// more than is left.
  static constexpr double enough = 36;

  bool isOnOther(int x, int y, std::uint32_t colour) {
    return twins.reference()[static_cast<std::size_t>(y * TwinDesktops::width + x)] == colour;
  }
  bool looksAlike(Video& video) {
    return video.likeness(lumaOf(twins.reference()), enough) >= enough;
  }

  /// Until the other desktop shows it, for before that both may look as they did.
  bool moves(Video& video, int window, const picture::PixelRect& frame) {
    twins.move(window, frame);
    return waitUntil([&] {
      return isOnOther(frame.x + frame.width - 5, frame.y + 5, windowColour) && looksAlike(video);
    });
  }
  /// At times Mutter does not show what is drawn just behind a move, on either desktop, until it is
  /// drawn once more.
  bool draws(Video& video, int window, const picture::PixelRect& frame,
             const picture::PixelRect& bar) {
    return waitUntil([&] {
      twins.draw(window, bar, barColour);
      return waitUntil(
          [&] {
            return isOnOther(frame.x + bar.x + 5, frame.y + bar.y + 5, barColour) &&
                   looksAlike(video);
          },
          3'000);
    });
  }
  void keepPictures(Video& video, const std::string& step) {
    keepPicture(video.picture(), TwinDesktops::width, step);
    keepPicture(twins.reference(), TwinDesktops::width, step + "-expected");
    keepPicture(twins.captured(), TwinDesktops::width, step + "-screen");
  }

  TwinDesktops twins{GetParam()};
};

TEST_P(LeftOutVideoTest, ReachesTheViewerWithoutOwnWindows) {
  picture::PixelRect frame{150, 150, 250, 200};
  const int moving = twins.open(frame, {windowColour});
  twins.draw(moving, {20, 20, 50, 150}, 0xf08020);
  Video video(twins.ownWindows());
  twins.openAllOwn();
  EXPECT_TRUE(waitUntil([&] { return looksAlike(video); }));
  for (int i = 0; i < 6 && !HasFailure(); ++i) {
    // One thing at a time: Mutter may draw what was drawn in a window that is moving where it was.
    EXPECT_TRUE(moves(video, moving, frame)) << "moved " << i;
    EXPECT_TRUE(draws(video, moving, frame, {100, 10 + i * 20, 120, 15})) << "drawn " << i;
    if (HasFailure()) keepPictures(video, std::to_string(i));
    frame.x += 50;
    frame.y -= 25;
  }
  EXPECT_EQ(video.failures(), 0);
}

INSTANTIATE_TEST_SUITE_P(Desktops, LeftOutVideoTest, ::testing::ValuesIn(everyDesktop),
                         [](const auto& test) { return nameOf(test.param); });

}  // namespace
}  // namespace vesk::testing::VESK_FILE
