#include <gtest/gtest.h>

#include <random>

#include "platform/linux/picture/ScreenEncoder.h"
#include "platform/linux/picture/h264/emulationPrevention.h"
#include "platform/linux/picture/h264/units.h"
#include "support/PaintedImages.h"

namespace vesk::picture {
namespace {

using namespace std::chrono_literals;

constexpr PixelSize size{320, 240};

/// The number that tells a key frame from the one before (ITU-T H.264, 7.3.3).
std::uint32_t identifierOf(const EncodedSample& key) {
  const auto& sets = key.parameterSets.value();
  const auto syntax = h264::sliceSyntax(sets.at(0), sets.at(1));
  const auto raw = h264::unescaped(h264::unitsOf(*key.data).front());
  h264::BitReader reader(raw);
  reader.bits(8);
  for (int i = 0; i < 3; ++i) reader.ue();  // first macroblock, type, picture parameter set
  reader.bits(syntax.value().frameNumberBits);
  return reader.ue().value();
}

/// A decoder takes two in a row for one picture where they are equal. However many were made for
/// each, since one came out too large or too small, and whether or not they were asked for.
TEST(KeyFrameIdentifierTest, DiffersFromTheOneBefore) {
  testing::PaintedImages screen(size);
  ScreenEncoderSettings settings;
  settings.encoder.width = size.width;
  settings.encoder.height = size.height;
  ScreenEncoder encoder(settings);
  std::mt19937 random(2);
  HostTime time{1h};
  std::optional<std::uint32_t> before;
  int askedFor = 0;
  int own = 0;
  for (int i = 0; i < 600; ++i) {
    screen.next();
    if (random() % 2 == 0) screen.noise(0, 0, size.width, size.height);
    if (random() % 3 == 0) screen.flat(0, 0, size.width, size.height);
    encoder.setBitRate(random() % 2 == 0 ? 4'000'000 : 100'000);
    const bool asks = random() % 3 == 0;
    const auto sample = encoder.encode(screen.image(), time += 200ms, asks);
    ASSERT_TRUE(sample);
    std::optional<std::uint32_t> identifier;
    if (sample->notSync == false) identifier = identifierOf(*sample);
    if (before && identifier) {
      EXPECT_NE(*before, *identifier) << "picture " << i;
      ++(asks ? askedFor : own);
    }
    before = identifier;
  }
  EXPECT_GT(askedFor, 50);
  EXPECT_GT(own, 5);
}

}  // namespace
}  // namespace vesk::picture
