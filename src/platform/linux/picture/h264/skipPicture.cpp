#include "platform/linux/picture/h264/skipPicture.h"

#include "platform/linux/picture/h264/emulationPrevention.h"
#include "platform/linux/picture/h264/slice.h"

namespace vesk::picture::h264 {

Bytes skipPicture(const SliceSyntax& syntax, std::uint32_t frameNumber, std::uint32_t macroblocks) {
  BitWriter writer;
  writeSliceHeader(writer, syntax, {0, frameNumber, syntax.initialQuantiser});
  writer.ue(macroblocks);
  return escaped(writer.finished());
}

}  // namespace vesk::picture::h264
