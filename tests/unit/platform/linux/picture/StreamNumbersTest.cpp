#include <gtest/gtest.h>

#include <array>
#include <random>

#include "platform/linux/picture/ScreenEncoder.h"
#include "platform/linux/picture/h264/emulationPrevention.h"
#include "platform/linux/picture/h264/units.h"
#include "support/PaintedImages.h"

namespace vesk::picture::VESK_FILE {
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
    // The lowest one wants an encoder of its own.
    encoder.setBitRate(std::array{4'000'000, 100'000, 20'000}[random() % 3]);
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

/// Whoever has made them: the encoder, or what puts pictures together or in between. A decoder that
/// finds another number takes some for lost.
TEST(PictureNumberTest, CountsEveryPictureFromTheKeyFrameOn) {
  testing::PaintedImages screen(size);
  ScreenEncoderSettings settings;
  settings.encoder.width = size.width;
  settings.encoder.height = size.height;
  ScreenEncoder encoder(settings);
  std::mt19937 random(3);
  HostTime time{1h};
  std::optional<h264::SliceSyntax> syntax;
  std::uint32_t next = 0;
  int composed = 0;
  for (int i = 0; i < 400; ++i) {
    screen.next();
    const auto kind = random() % 8;
    if (kind < 3) screen.text(static_cast<int>(random() % 300), 96, 16, 16);
    if (kind == 3) screen.noise(0, 0, size.width, size.height);
    const auto sample = encoder.encode(screen.image(), time += 100ms, random() % 40 == 0);
    ASSERT_TRUE(sample);
    if (const auto& sets = sample->parameterSets) {
      syntax = h264::sliceSyntax(sets->at(0), sets->at(1));
      next = 0;
    }
    const auto units = h264::unitsOf(*sample->data);
    composed += units.size() > 1 ? 1 : 0;
    for (const auto unit : units) {
      const auto raw = h264::unescaped(unit);
      h264::BitReader reader(raw);
      reader.bits(8);
      for (int part = 0; part < 3; ++part) reader.ue();
      ASSERT_EQ(reader.bits(syntax.value().frameNumberBits), next) << "picture " << i;
    }
    next = (next + 1) % (1U << syntax.value().frameNumberBits);
  }
  EXPECT_GT(composed, 20);
}

}  // namespace
}  // namespace vesk::picture::VESK_FILE
