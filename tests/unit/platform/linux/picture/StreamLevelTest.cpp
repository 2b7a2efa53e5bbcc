#include <gtest/gtest.h>

#include "capture/annexB.h"
#include "platform/linux/picture/X264Compression.h"
#include "support/H264Decoder.h"
#include "support/LevelCheck.h"
#include "support/PaintedImages.h"
#include "support/SequenceSet.h"

namespace vesk::picture::VESK_FILE {
namespace {

using namespace std::chrono_literals;
using testing::LevelCheck;
using testing::PaintedImages;
using testing::SequenceSet;

struct Settings {
  PixelSize size{640, 360};
  std::int64_t fps = 30;
  std::int64_t bitRate = 1'000'000;
};

class Stream {
 public:
  explicit Stream(const Settings& settings)
      : screen(settings.size), interval_(std::chrono::nanoseconds(1s) / settings.fps) {
    X264Compression compression;
    auto made =
        compression.makeH264Session({static_cast<std::int32_t>(settings.size.width),
                                     static_cast<std::int32_t>(settings.size.height), true});
    session = std::move(made.session);
    using P = CompressionProperty;
    session->setProperty(P::averageBitRate, settings.bitRate);
    session->setProperty(P::expectedFrameRate, settings.fps);
    session->prepareToEncodeFrames();
  }

  /// One access unit of what the screen shows; empty if none came.
  Bytes tick(bool keyFrame = false) {
    Bytes unit;
    session->encodeFrame(screen.image(), time_, keyFrame, [&](Status, const auto& sample) {
      if (sample) unit = annexB(*sample).value_or(Bytes{});
    });
    session->completeFrames();
    time_ += interval_;
    return unit;
  }

  SequenceSet sequenceSet() { return testing::sequenceSetOf(tick(true)).value_or(SequenceSet{}); }

  PaintedImages screen;
  std::unique_ptr<CompressionSession> session;

 private:
  std::chrono::nanoseconds interval_;
  HostTime time_{1h};
};

TEST(StreamLevelTest, ClaimsTheLevelOfSizeAndPaceAndRate) {
  const auto levelOf = [](PixelSize size, std::int64_t fps, std::int64_t bitRate) {
    return Stream({size, fps, bitRate}).sequenceSet().level;
  };
  EXPECT_EQ(levelOf({320, 240}, 10, 300'000), 12);
  EXPECT_EQ(levelOf({640, 360}, 30, 1'000'000), 30);
  EXPECT_EQ(levelOf({640, 360}, 30, 12'000'000), 41);
  EXPECT_EQ(levelOf({1280, 720}, 30, 4'000'000), 31);
  EXPECT_EQ(levelOf({1280, 720}, 60, 4'000'000), 32);
}

/// A rate beyond what the stream's level allows is kept down to it.
TEST(StreamLevelTest, KeepsToItsLevelWhateverIsShown) {
  Stream stream({{1280, 720}, 30, 4'000'000});
  LevelCheck check;
  for (int i = 0; i < 40; ++i) {
    if (i % 9 == 0) stream.screen.noise(0, 0, 1280, 720);
    if (i == 20) {
      stream.session->setProperty(CompressionProperty::averageBitRate, std::int64_t{90'000'000});
    }
    check.add(stream.tick(i % 7 == 0));
    stream.screen.next();
  }
  EXPECT_EQ(check.level(), 31);
  EXPECT_EQ(check.faults(), std::vector<std::string>{});
}

/// The check itself knows a stream that breaks its promise.
TEST(LevelCheckTest, FindsAPictureThatIsTooLarge) {
  Stream stream({{1280, 720}, 30, 4'000'000});
  LevelCheck check;
  check.add(stream.tick());
  check.add(Bytes(345'600));
  EXPECT_EQ(check.faults().size(), 0U);
  check.add(Bytes(345'601));
  EXPECT_EQ(check.faults().size(), 1U);
  for (int i = 0; i < 5; ++i) check.add(Bytes(340'000));
  EXPECT_GE(check.faults().size(), 2U) << "five in a row are too much for the buffer";
}

}  // namespace
}  // namespace vesk::picture::VESK_FILE
