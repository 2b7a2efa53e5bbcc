#include "support/WlImages.h"

#include <poll.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>

#include "platform/linux/picture/ImagePainter.h"
#include "platform/linux/wayland/server/WlDisplays.h"
#include "support/Patience.h"

namespace vesk::testing {
namespace {

using Clock = std::chrono::steady_clock;

picture::PixelRect whole(PixelSize size) {
  return {0, 0, static_cast<std::int32_t>(size.width), static_cast<std::int32_t>(size.height)};
}

}  // namespace

WlImages::WlImages(const wayland::beneath::OwnSurfaces* leftOut, bool showsCursor,
                   DisplayId display) {
  wayland::server::WlDisplays displays;
  if (display == 0) display = displays.mainDisplay();
  const auto points = displays.pixels(display);
  size_ = displays.modePixels(display).value_or(PixelSize{2, 2});
  StreamConfiguration configuration;
  configuration.width = size_.width;
  configuration.height = size_.height;
  configuration.showsCursor = showsCursor;
  images_ = std::make_unique<wayland::screen::OutputImages>(
      ShareableDisplay{display, points.width, points.height}, configuration, leftOut);
}

WlImages::Image WlImages::next(int milliseconds) {
  const auto deadline = Clock::now() + std::chrono::milliseconds(milliseconds);
  while (!error_) {
    if ((error_ = images_->follow())) break;
    if (images_->mayDiffer()) {
      auto taken = images_->take();
      if ((error_ = taken.error)) break;
      if (taken.image != nullptr)
        return last_ = std::dynamic_pointer_cast<const picture::Nv12Image>(taken.image);
    }
    auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    if (left <= 0) break;
    // What is held back is looked for at a stream's pace.
    if (images_->isHeldBack()) left = std::min<std::int64_t>(left, 5);
    pollfd news{images_->descriptor(), POLLIN, 0};
    ::poll(&news, 1, static_cast<int>(left));
  }
  return nullptr;
}

bool WlImages::waitUntil(const std::function<bool(const picture::Nv12Image&)>& isDone) {
  const auto deadline = Clock::now() + std::chrono::milliseconds(patience());
  while (Clock::now() < deadline && !error_) {
    if (last_ != nullptr && isDone(*last_)) return true;
    next(100);
  }
  return false;
}

int WlImages::drain(int milliseconds) {
  int count = 0;
  while (next(milliseconds) != nullptr) ++count;
  return count;
}

std::optional<PlatformError> WlImages::waitForEnd() {
  const auto deadline = Clock::now() + std::chrono::milliseconds(patience());
  while (Clock::now() < deadline && !error_) next(100);
  return error_;
}

WlImages::Image imageOf(const std::vector<std::uint32_t>& pixels, PixelSize size) {
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
