#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <vector>

#include "platform/linux/picture/X264Encoder.h"
#include "platform/linux/picture/composed/surroundings.h"
#include "platform/linux/picture/h264/SliceSyntax.h"
#include "platform/linux/picture/h264/units.h"
#include "support/H264Decoder.h"
#include "support/MixedScreen.h"

namespace vesk::testing {

/// An encoder of whole pictures of a screen, after its key frame, and what a decoder shows of it
/// and of pictures that are composed behind it.
class ComposedStreamTest : public ::testing::Test {
 protected:
  using Bytes = picture::h264::Bytes;

  explicit ComposedStreamTest(PixelSize pixels = {328, 184})
      : size(pixels),
        screen(size, 3),
        settings{static_cast<std::int32_t>(size.width), static_cast<std::int32_t>(size.height)},
        encoder(settings),
        syntax(*picture::h264::sliceSyntax(encoder.parameterSets())) {
    picture::X264Encoder::Request key;
    key.keyFrame = true;
    key.quantiser = 20;
    show(annexB(encoder.parameterSets(), encoder.encode(*screen.image(), key).value()));
  }

  static Bytes annexB(const std::vector<Bytes>& sets, const Bytes& units) {
    constexpr std::array start{std::byte{0}, std::byte{0}, std::byte{0}, std::byte{1}};
    Bytes stream;
    const auto add = [&](picture::h264::ByteView unit) {
      stream.insert(stream.end(), start.begin(), start.end());
      stream.insert(stream.end(), unit.begin(), unit.end());
    };
    for (const Bytes& set : sets) add(set);
    for (const auto unit : picture::h264::unitsOf(units)) add(unit);
    return stream;
  }

  void show(const Bytes& unit) {
    auto picture = decoder.decode(unit);
    ASSERT_TRUE(picture);
    shown = std::move(*picture);
  }

  int across() const { return picture::macroblocksAcross(size.width); }

  /// Of the picture that is shown and the encoder's.
  bool isExact() const {
    const auto& ours = encoder.reconstruction();
    for (int y = 0; y < shown.height; ++y) {
      const auto* row = shown.pixels.data() + y * shown.width;
      if (!std::equal(row, row + shown.width, ours.lumaAt(0, y))) return false;
    }
    return true;
  }

  /// What lies around the encoder's picture is what its pixels at the edge are.
  bool bordersAreRight() const {
    const auto& ours = encoder.reconstruction();
    const int width = across() * picture::macroblockEdge;
    const int height = picture::macroblocksAcross(size.height) * picture::macroblockEdge;
    for (int y = -picture::composed::borderWidth; y < height + picture::composed::borderWidth;
         ++y) {
      for (int x = -picture::composed::borderWidth; x < width + picture::composed::borderWidth;
           ++x) {
        const int atX = std::clamp(x, 0, width - 1);
        const int atY = std::clamp(y, 0, height - 1);
        if (*ours.lumaAt(x, y) != *ours.lumaAt(atX, atY)) return false;
        if (y % 2 != 0) continue;
        const int pair = atX / 2 * 2;
        const int which = (x % 2 + 2) % 2;
        const int beyond = x < 0 || x >= width ? (x < 0 ? 0 : width - 2) : pair;
        if (ours.chromaAt(0, y)[x] !=
            ours.chromaAt(0, std::clamp(y, 0, height - 2))[beyond + which]) {
          return false;
        }
      }
    }
    return true;
  }

  PixelSize size;
  MixedScreen screen;
  picture::X264Settings settings;
  picture::X264Encoder encoder;
  picture::h264::SliceSyntax syntax;
  H264Decoder decoder;
  Luma shown;
};

}  // namespace vesk::testing
