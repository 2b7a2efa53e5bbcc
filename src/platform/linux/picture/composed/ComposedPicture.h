#pragma once

#include "platform/linux/picture/composed/MovedBlocks.h"
#include "platform/linux/picture/h264/slice.h"

namespace vesk::picture::composed {

/// A P picture put together from the data of slices. Macroblocks that are in none of them are
/// skipped, and so look as they did in the picture before, or go along with a move.
///
/// Thread: one at a time. Fails: never.
class ComposedPicture {
 public:
  ComposedPicture(const h264::SliceSyntax& syntax, std::uint32_t frameNumber,
                  std::uint32_t macroblocks, const MovedBlocks* moved = nullptr);

  /// Slices come in the order of their macroblocks, and have none in common.
  struct Slice {
    std::uint32_t first = 0;   ///< macroblock, in raster order
    std::uint32_t count = 0;   ///< macroblocks
    bool endsEncoded = false;  ///< the last one is certainly not skipped
  };

  void add(const Slice& slice, const h264::SliceData& data);

  /// The NAL units, each behind its length.
  h264::Bytes finished();

 private:
  void begin(std::uint32_t first, int quantiser);
  void skipTo(std::uint32_t macroblock);
  bool anyMoves(std::uint32_t first, std::uint32_t end) const;
  void end();

  h264::SliceSyntax syntax_;
  std::uint32_t frameNumber_;
  std::uint32_t macroblocks_;
  const MovedBlocks* moved_;
  std::uint32_t next_ = 0;     ///< the first macroblock that is in no slice yet
  bool takesSkipped_ = false;  ///< the slice under way may go on with skipped macroblocks
  bool begun_ = false;         ///< a slice is under way
  h264::BitWriter slice_;
  h264::Bytes units_;
};

}  // namespace vesk::picture::composed
