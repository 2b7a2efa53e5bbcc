#pragma once

#include <map>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "platform/linux/picture/composed/MovedBlocks.h"
#include "platform/linux/picture/composed/TinyEncoder.h"

namespace vesk::picture::composed {

/// Makes P pictures in which little has changed at a cost in proportion to that: what has changed
/// is encoded in windows by themselves, the rest is skipped, and the result is laid into the memory
/// of the encoder that makes the other pictures, which goes on from there as if it had made it.
/// Only where `reconstructionIsReference()`.
///
/// Thread: one at a time. Owns: an encoder for each size of windows, from when it is first needed.
/// Fails: a picture that cannot be made gives nothing, and nothing has happened then.
class PictureComposer {
 public:
  /// `settings` and `syntax` are those of the encoder that makes the other pictures.
  PictureComposer(const X264Settings& settings, const h264::SliceSyntax& syntax);

  struct Request {
    std::span<const Run> windows{};             ///< what is encoded, in raster order
    std::span<const std::uint8_t> unchanged{};  ///< per macroblock: not 0 is to stay as it is
    int quantiser = 0;
    std::uint32_t frameNumber = 0;
    const MovedBlocks* moved = nullptr;  ///< what goes along with a move; in no window
    bool searchesFar = false;            ///< in windows, for what has come along, at a price
  };

  /// The NAL units, each behind its length. `reconstruction` is the picture before in the other
  /// encoder's memory, and afterwards this one.
  std::optional<h264::Bytes> compose(const Nv12Image& image, const Planes& reconstruction,
                                     const Request& request);

 private:
  /// What a window has become.
  struct Made {
    h264::SliceData data;
    Planes pixels;  ///< in `pixels_`
  };

  void reserve(std::span<const Run> windows);
  bool encode(const std::vector<std::size_t>& stack, const Nv12Image& image,
              const PlanesView& reference, const Request& request);
  TinyEncoder* encoderOf(const Extent& extent);
  void layInto(const Planes& reconstruction, const Request& request);

  X264Settings settings_;
  h264::SliceSyntax syntax_;
  Extent extent_;
  std::map<std::pair<int, int>, TinyEncoder> encoders_;  ///< by width and height in macroblocks
  std::vector<Made> made_;                               ///< of the picture under way
  std::vector<std::uint8_t> pixels_;
};

}  // namespace vesk::picture::composed
