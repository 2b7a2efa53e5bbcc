#include <cstdlib>
#include <vector>

#include "platform/linux/portal/screen/PaintedPointer.h"
#include "platform/linux/portal/screen/PointerNews.h"

namespace {

using namespace vesk::portal::screen;

constexpr std::int32_t edge = 48;

bool isWhole(const PointerShape& shape) {
  return shape.pixels.size() ==
         static_cast<std::size_t>(shape.width) * static_cast<std::size_t>(shape.height);
}

}  // namespace

/// What another program tells of the pointer, at first and then once more, as it is painted:
/// nothing may be read or painted beyond its end.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const auto all = std::as_bytes(std::span(data, size));
  const auto cut = 1 + std::to_integer<std::size_t>(all[0]) * 4 % size;
  std::vector<std::uint8_t> picture(std::size_t{edge} * edge * 4);
  PaintedPointer pointer;
  for (const auto told : {all.subspan(1), all.subspan(cut)}) {
    // Where nothing else is, so that what lies beyond it is nobody's.
    const std::vector<std::byte> alone(told.begin(), told.end());
    auto news = pointerNews(alone);
    if (!news) continue;
    if (news->shape && !isWhole(*news->shape)) std::abort();
    pointer.follow(std::move(*news));
    pointer.paint({picture.data(), edge * 4, edge, edge});
    const auto& painted = pointer.painted();
    if (painted.x < 0 || painted.y < 0 || painted.right() > edge || painted.bottom() > edge)
      std::abort();
  }
  return 0;
}
