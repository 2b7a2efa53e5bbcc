#include "platform/linux/picture/X264Session.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <future>

#include "capture/annexB.h"
#include "platform/linux/picture/X264Compression.h"
#include "support/H264Decoder.h"
#include "support/PaintedImages.h"
#include "support/Scarcity.h"

namespace vesk::picture::VESK_FILE {
namespace {

using namespace std::chrono_literals;
using testing::decodeWithFfmpeg;
using testing::H264Decoder;
using testing::PaintedImages;
using testing::Region;

constexpr PixelSize size{640, 360};
constexpr auto interval = 33'333'333ns;

struct Sent {
  Bytes accessUnit;
  bool key = false;
  std::shared_ptr<const Nv12Image> image;
};

class X264SessionTest : public ::testing::Test {
 protected:
  X264SessionTest() { prepare(30, 1'000'000); }

  void prepare(std::int64_t fps, std::int64_t bitRate) {
    auto made = compression.makeH264Session({size.width, size.height, true});
    EXPECT_EQ(made.status, 0);
    session = std::move(made.session);
    using P = CompressionProperty;
    EXPECT_EQ(session->setProperty(P::realTime, true), 0);
    EXPECT_EQ(session->setProperty(P::profileLevel, ProfileLevel::h264ConstrainedBaselineAutoLevel),
              0);
    EXPECT_EQ(session->setProperty(P::allowFrameReordering, false), 0);
    EXPECT_EQ(session->setProperty(P::averageBitRate, bitRate), 0);
    EXPECT_EQ(session->setProperty(P::expectedFrameRate, fps), 0);
    EXPECT_EQ(session->setProperty(P::maxKeyFrameInterval, fps * 4), 0);
    EXPECT_EQ(session->setProperty(P::maxKeyFrameIntervalDuration, std::int64_t{4}), 0);
    EXPECT_EQ(session->prepareToEncodeFrames(), 0);
  }

  /// One tick: encodes what the screen shows now and waits for it.
  const Sent& tick(bool forceKeyFrame = false) {
    EncodedSample encoded;
    const auto handler = [&](Status status, std::optional<EncodedSample> sample) {
      EXPECT_EQ(status, 0);
      ASSERT_TRUE(sample);
      encoded = std::move(*sample);
    };
    EXPECT_EQ(session->encodeFrame(screen.image(), time, forceKeyFrame, handler), 0);
    session->completeFrames();
    time += interval;
    sent.push_back(
        {annexB(encoded).value_or(Bytes{}), !encoded.notSync.value_or(false), screen.image()});
    return sent.back();
  }

  void ticks(int count) {
    for (int i = 0; i < count; ++i) tick();
  }

  /// The picture that a viewer sees of each access unit, by both decoders, which must agree.
  std::vector<testing::Luma> decodeAll() {
    H264Decoder decoder;
    std::vector<testing::Luma> pictures;
    Bytes stream;
    for (const auto& each : sent) {
      auto picture = decoder.decode(each.accessUnit);
      EXPECT_TRUE(picture) << "picture " << pictures.size();
      if (!picture) break;
      pictures.push_back(std::move(*picture));
      stream.insert(stream.end(), each.accessUnit.begin(), each.accessUnit.end());
    }
    const auto other = decodeWithFfmpeg(stream, size.width, size.height);
    EXPECT_EQ(other.messages, "");
    EXPECT_EQ(other.pictures.size(), sent.size());
    for (std::size_t i = 0; i < std::min(pictures.size(), other.pictures.size()); ++i) {
      EXPECT_EQ(pictures[i].pixels, other.pictures[i].pixels) << "picture " << i;
    }
    return pictures;
  }

  double quality(const testing::Luma& picture, const Sent& of,
                 std::optional<Region> region = std::nullopt) {
    return testing::psnr(picture, of.image->luma(), of.image->stride(), region);
  }

  /// Ten frames while the thread is held up, the last of which may be asked to be a key frame.
  void expectThatItDrops(bool forced) {
    tick();
    std::promise<void> release;
    std::promise<void> begun;
    auto released = release.get_future();
    session->encodeFrame(screen.image(), time, false, [&](auto, const auto&) {
      begun.set_value();
      released.wait();
    });
    begun.get_future().wait();
    int dropped = 0;
    std::atomic<int> delivered = 0;
    std::atomic<bool> key = false;
    for (int i = 0; i < 10; ++i) {
      time += interval;
      const auto handler = [&](Status status, const auto& sample) {
        EXPECT_EQ(status, 0);
        if (!sample) {
          ++dropped;
          return;
        }
        ++delivered;
        key = key || sample->notSync == false;
      };
      EXPECT_EQ(session->encodeFrame(screen.image(), time, forced && i == 9, handler), 0);
    }
    EXPECT_EQ(dropped, 10 - (X264Session::mostPending - 1));
    release.set_value();
    EXPECT_EQ(session->completeFrames(), 0);
    EXPECT_EQ(delivered, X264Session::mostPending - 1);
    EXPECT_EQ(key, forced) << "of a dropped frame the request for a key frame remains";
  }

  X264Compression compression;
  std::unique_ptr<CompressionSession> session;
  PaintedImages screen{size};
  HostTime time{1h};
  std::vector<Sent> sent;
};

TEST_F(X264SessionTest, BeginsWithParameterSetsAndAKeyFrameOfConstrainedBaseline) {
  const Sent& first = tick();
  EXPECT_TRUE(first.key);
  std::vector<int> types;
  for (std::size_t i = 0; i + 4 < first.accessUnit.size(); ++i) {
    const auto at = [&](std::size_t offset) {
      return std::to_integer<int>(first.accessUnit[i + offset]);
    };
    if (at(0) == 0 && at(1) == 0 && at(2) == 0 && at(3) == 1) types.push_back(at(4) & 0x1f);
  }
  ASSERT_GE(types.size(), 3U);
  EXPECT_EQ(types[0], 7);
  EXPECT_EQ(types[1], 8);
  EXPECT_EQ(std::count(types.begin() + 2, types.end(), 5), std::ssize(types) - 2)
      << "and then nothing but slices of a key frame";
  EXPECT_EQ(std::to_integer<int>(first.accessUnit[5]), 66);
  EXPECT_EQ(std::to_integer<int>(first.accessUnit[6]) & 0xc0, 0xc0);
}

TEST_F(X264SessionTest, RefusesSizesThatTheEncoderDoesNotTake) {
  for (const auto& [width, height] :
       {std::pair{0, 100}, {100, 0}, {-2, 4}, {100'000, 2}, {33, 32}}) {
    const auto made = compression.makeH264Session({width, height, true});
    EXPECT_EQ(made.status, X264Compression::refused);
    EXPECT_EQ(made.session, nullptr);
  }
}

TEST_F(X264SessionTest, HasAStatusForAThreadThatCannotBeMade) {
  const vesk::testing::NoThreads scarcity;
  const auto made = compression.makeH264Session({size.width, size.height, true});
  EXPECT_NE(made.status, 0);
  EXPECT_EQ(made.session, nullptr);
}

TEST_F(X264SessionTest, BecomesGoodAndThenNearlyFreeWhileTheScreenIsStill) {
  ticks(30 * 9);
  const auto pictures = decodeAll();
  ASSERT_EQ(pictures.size(), sent.size());
  std::size_t keys = 0;
  std::vector<std::size_t> sizes;
  for (std::size_t i = 30; i < pictures.size(); ++i) {
    ASSERT_GE(quality(pictures[i], sent[i]), 42)
        << "picture " << i << " of " << sent[i].accessUnit.size();
    keys += sent[i].key ? 1 : 0;
    sizes.push_back(sent[i].accessUnit.size());
  }
  EXPECT_EQ(keys, 2U);
  std::ranges::nth_element(sizes, sizes.begin() + static_cast<std::ptrdiff_t>(sizes.size() / 2));
  EXPECT_LE(sizes[sizes.size() / 2], 100U);
}

TEST_F(X264SessionTest, SendsAKeyFrameEveryFourSeconds) {
  ticks(30 * 13);
  std::vector<std::size_t> keys;
  for (std::size_t i = 0; i < sent.size(); ++i) {
    if (sent[i].key) keys.push_back(i);
  }
  EXPECT_EQ(keys, (std::vector<std::size_t>{0, 120, 240, 360}));
}

TEST_F(X264SessionTest, SendsAKeyFrameAfterFourSecondsOfFewFrames) {
  tick();
  time += 3s;
  EXPECT_FALSE(tick().key);
  time += 1s;
  EXPECT_TRUE(tick().key);
}

TEST_F(X264SessionTest, SendsForcedKeyFramesAlsoInARow) {
  ticks(40);
  for (int i = 0; i < 4; ++i) EXPECT_TRUE(tick(true).key);
  EXPECT_FALSE(tick().key);
  ticks(30);
  EXPECT_TRUE(tick(true).key);
  ticks(3);
  EXPECT_EQ(decodeAll().size(), sent.size());
}

TEST_F(X264SessionTest, DecodesThroughEveryKindOfChange) {
  std::mt19937 random(3);
  for (int i = 0; i < 400; ++i) {
    const auto kind = random() % 12;
    if (kind < 5) {
      screen.next();
      screen.text(static_cast<int>(random() % 38) * 16, static_cast<int>(random() % 21) * 16, 20,
                  12);
    } else if (kind == 5 && i % 3 == 0) {
      screen.next();
      screen.gradient(i);
    }
    tick(random() % 40 == 0);
  }
  EXPECT_EQ(decodeAll().size(), sent.size());
}

TEST_F(X264SessionTest, ShowsTypedTextSharplyAtOnce) {
  ticks(45);
  const Region typed{96, 96, 48, 16};
  for (int i = 0; i < 20; ++i) {
    screen.next();
    screen.text(typed.x, typed.y, typed.width, typed.height);
    ticks(4);
  }
  const auto pictures = decodeAll();
  ASSERT_EQ(pictures.size(), sent.size());
  for (std::size_t i = 45; i < pictures.size(); i += 4) {
    EXPECT_GE(quality(pictures[i + 2], sent[i + 2], typed), 38) << "picture " << i;
  }
}

TEST_F(X264SessionTest, KeepsToTheBitRateAndFollowsItsChange) {
  const auto secondsOfVideo = [&](int count) {
    std::size_t total = 0;
    for (int i = 0; i < count * 30; ++i) {
      screen.next();
      screen.gradient(i);
      total += tick().accessUnit.size() * 8;
    }
    return static_cast<double>(total) / count;
  };
  secondsOfVideo(2);
  EXPECT_NEAR(secondsOfVideo(6), 1'000'000, 150'000);
  session->setProperty(CompressionProperty::averageBitRate, std::int64_t{2'500'000});
  secondsOfVideo(2);
  EXPECT_NEAR(secondsOfVideo(6), 2'500'000, 375'000);
  EXPECT_EQ(decodeAll().size(), sent.size());
}

TEST_F(X264SessionTest, GivesAVideoAfterAStillScreenNoMoreThanItsShare) {
  ticks(30 * 8);
  std::size_t total = 0;
  for (int i = 0; i < 30; ++i) {
    screen.next();
    screen.gradient(i);
    total += tick().accessUnit.size() * 8;
  }
  EXPECT_LE(total, 2'000'000U);
  const auto pictures = decodeAll();
  ASSERT_EQ(pictures.size(), sent.size());
  EXPECT_GE(quality(pictures.back(), sent.back()), 20);
}

TEST_F(X264SessionTest, DropsFramesWhileItsThreadIsHeldUp) {
  for (const bool forced : {false, true}) expectThatItDrops(forced);
}

TEST_F(X264SessionTest, RefusesFramesOfAnotherKindOrSize) {
  class Other final : public ImageBuffer {
    PixelSize size() const override { return {640, 360}; }
  };
  std::vector<Status> answers;
  const auto handler = [&](Status status, const auto& sample) {
    EXPECT_FALSE(sample);
    answers.push_back(status);
  };
  session->encodeFrame(std::make_shared<Other>(), time, false, handler);
  session->encodeFrame(std::make_shared<Nv12Image>(PixelSize{320, 200}), time, false, handler);
  session->completeFrames();
  EXPECT_EQ(answers, (std::vector<Status>{X264Compression::refused, X264Compression::refused}));
  EXPECT_EQ(session->encodeFrame(nullptr, time, false, handler), X264Compression::refused);
  EXPECT_TRUE(tick().key);
}

TEST_F(X264SessionTest, EncodesNothingAfterItsEnd) {
  tick();
  session->invalidate();
  session->invalidate();
  EXPECT_EQ(session->encodeFrame(screen.image(), time, false,
                                 [](auto, const auto&) { ADD_FAILURE() << "called back"; }),
            X264Compression::refused);
}

TEST_F(X264SessionTest, HasAnsweredEveryFrameWhenItEnds) {
  int answers = 0;
  for (int i = 0; i < X264Session::mostPending; ++i) {
    session->encodeFrame(screen.image(), time, true, [&](auto, const auto&) { ++answers; });
    time += interval;
  }
  session->invalidate();
  EXPECT_EQ(answers, X264Session::mostPending);
}

TEST_F(X264SessionTest, CannotPrepareForASizeThatTheEncoderDoesNotTake) {
  X264Session odd({33, 32, true});
  EXPECT_EQ(odd.prepareToEncodeFrames(), X264Compression::refused);
}

TEST_F(X264SessionTest, RefusesSettingsThatItDoesNotHave) {
  using P = CompressionProperty;
  EXPECT_NE(session->setProperty(P::realTime, false), 0);
  EXPECT_NE(session->setProperty(P::profileLevel, true), 0);
  EXPECT_NE(session->setProperty(P::allowFrameReordering, true), 0);
  EXPECT_NE(session->setProperty(P::averageBitRate, false), 0);
  EXPECT_NE(session->setProperty(P::expectedFrameRate, std::int64_t{0}), 0);
  EXPECT_EQ(session->setProperty(P::expectedFrameRate, std::int64_t{1}), 0);
}

}  // namespace
}  // namespace vesk::picture::VESK_FILE
