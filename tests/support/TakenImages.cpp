#include "support/TakenImages.h"

#include <poll.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>

#include "platform/linux/picture/ImagePainter.h"
#include "support/Patience.h"

namespace vesk::testing {
namespace {

using Clock = std::chrono::steady_clock;

picture::PixelRect whole(PixelSize size) {
  return {0, 0, static_cast<std::int32_t>(size.width), static_cast<std::int32_t>(size.height)};
}

}  // namespace

TakenImages::Image TakenImages::next(int milliseconds) {
  const auto deadline = Clock::now() + std::chrono::milliseconds(milliseconds);
  while (!error_) {
    if ((error_ = images().follow())) break;
    if (images().mayDiffer()) {
      auto taken = images().take();
      if ((error_ = taken.error)) break;
      if (taken.image != nullptr)
        return last_ = std::dynamic_pointer_cast<const picture::Nv12Image>(taken.image);
    }
    auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    if (left <= 0) break;
    // What is held back is looked for at a stream's pace.
    if (images().isHeldBack()) left = std::min<std::int64_t>(left, 5);
    pollfd news{images().descriptor(), POLLIN, 0};
    ::poll(&news, 1, static_cast<int>(left));
  }
  return nullptr;
}

bool TakenImages::waitUntil(const std::function<bool(const picture::Nv12Image&)>& isDone) {
  const auto deadline = Clock::now() + std::chrono::milliseconds(patience());
  while (Clock::now() < deadline && !error_) {
    if (last_ != nullptr && isDone(*last_)) return true;
    next(100);
  }
  return false;
}

int TakenImages::drain(int milliseconds) {
  int count = 0;
  while (next(milliseconds) != nullptr) ++count;
  return count;
}

std::optional<PlatformError> TakenImages::waitForEnd() {
  const auto deadline = Clock::now() + std::chrono::milliseconds(patience());
  while (Clock::now() < deadline && !error_) next(100);
  return error_;
}

TakenImages::Image imageOf(const std::vector<std::uint32_t>& pixels, PixelSize size) {
  picture::ImagePainter painter(size, size);
  return painter.paint(reinterpret_cast<const std::uint8_t*>(pixels.data()),
                       static_cast<int>(size.width) * 4, {whole(size)});
}

int largestDifference(const picture::Nv12Image& a, const picture::Nv12Image& b,
                      const picture::PixelRect& area) {
  int largest = 0;
  const auto compare = [&](const std::uint8_t* one, const std::uint8_t* other) {
    for (std::int32_t x = area.x; x < area.right(); ++x)
      largest = std::max(largest, std::abs(one[x] - other[x]));
  };
  for (std::int32_t y = area.y; y < area.bottom(); ++y) {
    compare(a.luma() + y * a.stride(), b.luma() + y * b.stride());
    compare(a.chroma() + y / 2 * a.stride(), b.chroma() + y / 2 * b.stride());
  }
  return largest;
}

int largestDifference(const picture::Nv12Image& a, const picture::Nv12Image& b) {
  return a.size() == b.size() ? largestDifference(a, b, whole(a.size())) : 256;
}

}  // namespace vesk::testing
