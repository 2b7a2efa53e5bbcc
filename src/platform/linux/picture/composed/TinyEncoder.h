#pragma once

#include <optional>
#include <span>
#include <vector>

#include "platform/linux/picture/X264Encoder.h"
#include "platform/linux/picture/composed/runs.h"
#include "platform/linux/picture/composed/surroundings.h"
#include "platform/linux/picture/h264/slice.h"

namespace vesk::picture::composed {

/// Encodes some macroblocks beside one another, and as many in each of some rows below, as a
/// picture of their own, which refers to the place in a larger picture that they are in. What it
/// writes is what that picture's encoder might have written for a slice of each row: at the
/// beginning of a slice nothing before it is there to be foretold from. A picture costs about as
/// much as one macroblock, so that a few rows at once cost little more than one.
///
/// Thread: one at a time. Owns: an encoder. Fails: the constructor leaves an object that is false;
/// a place that cannot be encoded gives nothing.
class TinyEncoder {
 public:
  /// `like` are the settings of the larger picture's encoder.
  TinyEncoder(const X264Settings& like, const Extent& extent);

  explicit operator bool() const { return syntax_.has_value(); }

  /// What must be equal in the larger picture.
  const h264::SliceSyntax& syntax() const { return *syntax_; }

  struct Request {
    Run place;  ///< as wide as this encoder; the uppermost of its rows
    std::span<const std::uint8_t> unchanged{};  ///< of the whole picture: not 0 is to stay as it is
    int quantiser = 0;
    bool searchesFar = false;  ///< for what has come from beside it, at a price
  };

  /// The image's pixels at that place, row by row. `reference` is the reconstruction of the larger
  /// picture before, which is only read.
  std::vector<h264::SliceData> encode(const Nv12Image& image, const PlanesView& reference,
                                      const Request& request);

  /// What a decoder makes of it; valid until the next one.
  const Planes& reconstruction() const { return encoder_.reconstruction(); }

 private:
  void cut(const Nv12Image& image, const PlanesView& reference, const Request& request, int row);

  Extent extent_;
  X264Encoder encoder_;
  std::optional<h264::SliceSyntax> syntax_;
  Nv12Image pixels_;
  std::vector<std::uint8_t> unchanged_;
};

}  // namespace vesk::picture::composed
