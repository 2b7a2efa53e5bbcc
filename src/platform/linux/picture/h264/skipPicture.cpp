#include "platform/linux/picture/h264/skipPicture.h"

#include "platform/linux/picture/h264/emulationPrevention.h"

namespace vesk::picture::h264 {
namespace {

constexpr std::uint32_t referenceSlice = 0x41;
constexpr std::uint32_t everySliceIsP = 5;

}  // namespace

Bytes skipPicture(const SliceSyntax& syntax, std::uint32_t frameNumber, std::uint32_t macroblocks) {
  BitWriter writer;
  writer.bits(referenceSlice, 8);
  writer.ue(0);  // first macroblock
  writer.ue(everySliceIsP);
  writer.ue(syntax.pictureParameterSet);
  writer.bits(frameNumber, syntax.frameNumberBits);
  if (syntax.oneReferenceByDefault) {
    writer.bits(0, 1);
  } else {
    writer.bits(1, 1);
    writer.ue(0);
  }
  writer.bits(0, 1);                           // the list of references as it is
  writer.bits(0, 1);                           // the oldest reference makes room
  writer.ue(0);                                // the quantiser as it is
  if (syntax.deblockingControl) writer.ue(1);  // nothing to smooth
  writer.ue(macroblocks);
  return escaped(writer.finished());
}

}  // namespace vesk::picture::h264
