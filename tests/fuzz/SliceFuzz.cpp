#include <cstdlib>

#include "platform/linux/picture/h264/emulationPrevention.h"
#include "platform/linux/picture/h264/frameNumber.h"
#include "platform/linux/picture/h264/skipPicture.h"
#include "platform/linux/picture/h264/slice.h"
#include "platform/linux/picture/h264/units.h"

namespace {

using namespace vesk::picture::h264;

std::vector<bool> bitsOf(const SliceData& data) {
  BitReader reader(data.raw);
  reader.skipTo(data.from);
  std::vector<bool> bits;
  for (std::size_t i = data.from; i < data.to; ++i) bits.push_back(reader.bits(1).value() == 1);
  return bits;
}

/// The data of a slice under another header is the same.
void checkData(ByteView unit, const SliceSyntax& syntax) {
  const auto inPicture = sliceData(unit, syntax);
  const auto data = inPicture ? inPicture : keySliceData(unit, syntax);
  if (!data) return;
  SliceHeader header{77, 3, data->quantiser};
  if (!inPicture) header.keyIdentifier = 2;
  BitWriter writer;
  writeSliceHeader(writer, syntax, header);
  writer.copy(data->raw, data->from, data->to);
  const Bytes other = escaped(writer.finished());
  const auto again = inPicture ? sliceData(other, syntax) : keySliceData(other, syntax);
  if (!again || again->quantiser != data->quantiser || bitsOf(*again) != bitsOf(*data)) {
    std::abort();
  }
}

}  // namespace

/// Parameter sets and slices of any kind: nothing may be read beyond its end, moving a number on
/// and back gives the slice again, as does a change of its header, and a unit never looks like a
/// start code inside.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const ByteView all = std::as_bytes(std::span(data, size));
  const std::size_t cut = std::to_integer<std::size_t>(all[0]) % size;
  const auto syntax = sliceSyntax(all.first(cut), all.subspan(cut)).value_or(SliceSyntax{});

  for (const ByteView unit : unitsOf(all)) checkData(unit, syntax);
  checkData(all.subspan(1), SliceSyntax{0, 4, true, true});

  const Bytes unit = escaped(all.subspan(1));
  if (unescaped(unit) != Bytes(all.begin() + 1, all.end())) std::abort();
  const Bytes moved = withFrameNumberMoved(unit, syntax, 5);
  const auto back = (1U << syntax.frameNumberBits) - 5 % (1U << syntax.frameNumberBits);
  if (withFrameNumberMoved(moved, syntax, back) != unit) std::abort();
  for (std::size_t i = 0; i + 2 < moved.size(); ++i) {
    if (moved[i] == std::byte{0} && moved[i + 1] == std::byte{0} && moved[i + 2] < std::byte{3}) {
      std::abort();
    }
  }
  return 0;
}
