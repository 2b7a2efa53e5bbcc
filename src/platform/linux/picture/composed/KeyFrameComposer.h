#pragma once

#include <map>
#include <optional>
#include <vector>

#include "platform/linux/picture/X264Encoder.h"
#include "platform/linux/picture/composed/Digest.h"
#include "platform/linux/picture/composed/surroundings.h"
#include "platform/linux/picture/h264/slice.h"

namespace vesk::picture::composed {

/// Makes key frames at a cost in proportion to what has changed since the key frame before. Each is
/// put together from slices as wide as the picture, of some rows of macroblocks; a slice of a key
/// frame refers to nothing outside it, so one whose pixels and quantiser are as they were is used
/// once more, and only the others are encoded. The result is laid into the memory of the encoder
/// that makes the pictures behind it, which goes on from there as if it had made it. Only where
/// `reconstructionIsReference()`.
///
/// Thread: one at a time. Owns: the encoders of slices and what was made of them.
/// Fails: a picture that cannot be made gives nothing, and nothing has happened then.
class KeyFrameComposer {
 public:
  /// `settings` and `syntax` are those of the encoder that makes the other pictures, whose level
  /// allows so many slices in a picture.
  KeyFrameComposer(const X264Settings& settings, const h264::SliceSyntax& syntax,
                   std::size_t mostSlices);

  struct Request {
    int quantiser = 0;
    /// Not the one of a key frame straight before.
    std::uint32_t identifier = 0;
  };

  /// The NAL units, each behind its length. `reconstruction` is the memory of the other encoder,
  /// and this picture afterwards.
  std::optional<h264::Bytes> compose(const Nv12Image& image, const Planes& reconstruction,
                                     const Request& request);

 private:
  /// Rows of macroblocks that make one slice.
  struct Band {
    int row = 0;
    int rows = 0;
    std::optional<h264::SliceData> data;  ///< nothing: it has not been encoded
    int quantiser = 0;                    ///< that it was asked for
    Digest digest;                        ///< of its pixels
    bool hasLasted = false;               ///< it was in the key frame before
    /// What it is in the stream, behind its length, by the identifiers of the key frames; once it
    /// has lasted, as a page that scrolls would keep much for nothing.
    std::map<std::uint32_t, h264::Bytes> units;
  };

  void append(Band& band, std::uint32_t identifier, h264::Bytes& units) const;
  h264::Bytes unitOf(const Band& band, std::uint32_t identifier) const;
  bool bringUpToDate(Band& band, const Nv12Image& image, int quantiser);
  bool encode(Band& band, const PlanesView& pixels);
  X264Encoder* encoderOf(int rows);

  X264Settings settings_;
  h264::SliceSyntax syntax_;
  Extent extent_;
  std::vector<Band> bands_;
  std::map<int, X264Encoder> encoders_;  ///< by rows of macroblocks
  std::uint64_t seed_;                   ///< of the digests
  Nv12Image made_;                       ///< what a decoder makes of them, whole macroblocks
};

}  // namespace vesk::picture::composed
