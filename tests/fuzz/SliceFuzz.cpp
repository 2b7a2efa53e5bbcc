#include <cstdlib>

#include "platform/linux/picture/h264/emulationPrevention.h"
#include "platform/linux/picture/h264/frameNumber.h"
#include "platform/linux/picture/h264/skipPicture.h"

/// Parameter sets and slices of any kind: nothing may be read beyond its end, moving a number on
/// and back gives the slice again, and a unit never looks like a start code inside.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace vesk::picture::h264;
  if (size < 2) return 0;
  const ByteView all = std::as_bytes(std::span(data, size));
  const std::size_t cut = std::to_integer<std::size_t>(all[0]) % size;
  const auto syntax = sliceSyntax(all.first(cut), all.subspan(cut)).value_or(SliceSyntax{});

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
