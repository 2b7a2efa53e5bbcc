#pragma once

#include <algorithm>
#include <memory>

#include "platform/linux/picture/Nv12Image.h"
#include "platform/linux/picture/PixelRect.h"

namespace vesk::testing {

/// The image behind this one in a stream: a copy of it until it is painted on.
inline std::shared_ptr<picture::Nv12Image> nextImage(const picture::Nv12Image& image) {
  auto next = std::make_shared<picture::Nv12Image>(image.size());
  const auto height = static_cast<std::size_t>(image.size().height);
  std::copy_n(image.luma(), static_cast<std::size_t>(image.stride()) * height * 3 / 2,
              next->luma());
  next->changedAt = image.changedAt;
  next->sequence = image.sequence + 1;
  return next;
}

/// Notes what was painted on, a rectangle within the image.
inline void markPainted(picture::Nv12Image& image, const picture::PixelRect& rect) {
  constexpr int edge = picture::macroblockEdge;
  const int across = picture::macroblocksAcross(image.size().width);
  if (rect.isEmpty()) return;
  for (int row = rect.y / edge; row * edge < rect.bottom(); ++row) {
    for (int column = rect.x / edge; column * edge < rect.right(); ++column) {
      image.changedAt[static_cast<std::size_t>(row * across + column)] = image.sequence;
    }
  }
}

}  // namespace vesk::testing
