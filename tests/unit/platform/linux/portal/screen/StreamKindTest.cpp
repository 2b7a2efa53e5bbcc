#include <gtest/gtest.h>

#include <random>

#include "platform/UnixSocket.h"
#include "platform/linux/portal/screen/StreamImages.h"
#include "platform/linux/portal/screen/streamErrors.h"
#include "support/CastImages.h"
#include "support/Mutter.h"
#include "support/Patience.h"
#include "support/PictureNode.h"

namespace vesk::portal::screen::VESK_FILE {
namespace {

using testing::CastImages;
using testing::imageOf;
using testing::largestDifference;
using testing::PictureNode;

constexpr PixelSize size{320, 208};

PictureNode::Pixels noise(std::uint32_t seed) {
  std::mt19937 random(seed);
  PictureNode::Pixels pixels(static_cast<std::size_t>(size.width * size.height));
  for (auto& pixel : pixels) pixel = random() & 0xffffffU;
  return pixels;
}

std::uint32_t withRedFirst(std::uint32_t pixel) {
  return (pixel & 0xff00U) | (pixel & 0xffU) << 16U | pixel >> 16U;
}

class StreamKindTest : public ::testing::Test {
 protected:
  std::unique_ptr<CastImages> imagesOf(PictureNode& node) const {
    auto remote = unixSocket::open();
    EXPECT_TRUE(unixSocket::connect(remote, mutter.pipeWireSocket()));
    return std::make_unique<CastImages>(std::move(remote), node.node(), size,
                                        CastImages::Options());
  }
  PictureNode makeNode(PictureNode::Kind kind, PictureNode::Pixels first) const {
    return {mutter.pipeWireSocket(), kind, std::move(first)};
  }
  static bool shows(CastImages& images, const PictureNode::Pixels& pixels) {
    const auto expected = imageOf(pixels, size);
    return images.waitUntil(
        [&](const auto& image) { return largestDifference(image, *expected) == 0; });
  }

  testing::Mutter mutter{{{640, 400}, false, false}};
};

TEST_F(StreamKindTest, MayHaveEitherColourFirst) {
  for (const auto format : {SPA_VIDEO_FORMAT_BGRx, SPA_VIDEO_FORMAT_BGRA, SPA_VIDEO_FORMAT_RGBx,
                            SPA_VIDEO_FORMAT_RGBA}) {
    const bool isRedFirst = format == SPA_VIDEO_FORMAT_RGBx || format == SPA_VIDEO_FORMAT_RGBA;
    const auto inMemory = [&](PictureNode::Pixels pixels) {
      for (auto& pixel : pixels) pixel = isRedFirst ? withRedFirst(pixel) : pixel;
      return pixels;
    };
    auto node = makeNode({size, format}, inMemory(noise(1)));
    const auto images = imagesOf(node);
    ASSERT_EQ(images->open(), std::nullopt) << format;
    EXPECT_TRUE(shows(*images, noise(1))) << format;
    node.send(inMemory(noise(2)));
    EXPECT_TRUE(shows(*images, noise(2))) << format;
  }
}

TEST_F(StreamKindTest, IsBelievedWhatHasChanged) {
  auto pixels = noise(1);
  auto node = makeNode({size}, pixels);
  const auto images = imagesOf(node);
  ASSERT_EQ(images->open(), std::nullopt);
  images->drain();
  auto next = pixels;
  next[50 * 320 + 100] ^= 0xffffffU;
  next[150 * 320 + 10] ^= 0xffffffU;
  pixels[50 * 320 + 100] = next[50 * 320 + 100];
  node.send(next, {{100, 50, 1, 1}});
  EXPECT_TRUE(shows(*images, pixels)) << "and nothing else is looked at";
  node.send(next, {{100, 50, 1, 1}, {0, 140, 20, 20}});
  EXPECT_TRUE(shows(*images, next));
}

TEST_F(StreamKindTest, EndsWhenItsSizeChanges) {
  auto node = makeNode({size}, noise(1));
  const auto images = imagesOf(node);
  ASSERT_EQ(images->open(), std::nullopt);
  node.become({{400, 300}});
  EXPECT_EQ(images->waitForEnd(), streamError::displayChanged);
}

TEST_F(StreamKindTest, EndsWhenItIsHaltedForGood) {
  auto node = makeNode({size}, noise(1));
  const auto images = imagesOf(node);
  ASSERT_EQ(images->open(), std::nullopt);
  node.halt();
  EXPECT_EQ(images->waitForEnd(), streamError::stopped);
}

TEST_F(StreamKindTest, IsRefusedWhereItsColoursCannotBeRead) {
  auto node = makeNode({size, SPA_VIDEO_FORMAT_GRAY8}, noise(1));
  const auto images = imagesOf(node);
  EXPECT_NE(images->open(), std::nullopt);
}

}  // namespace
}  // namespace vesk::portal::screen::VESK_FILE
