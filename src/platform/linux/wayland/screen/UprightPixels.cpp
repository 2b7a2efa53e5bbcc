#include "platform/linux/wayland/screen/UprightPixels.h"

#include <libyuv.h>

#include <cstddef>

#include "platform/linux/wayland/screen/turned.h"

namespace vesk::wayland::screen {
namespace {

bool isAsWished(std::uint32_t format) {
  return format == WL_SHM_FORMAT_XRGB8888 || format == WL_SHM_FORMAT_ARGB8888;
}

libyuv::RotationMode rotation(wl_output_transform transform) {
  switch (transform) {
    case WL_OUTPUT_TRANSFORM_90:
    case WL_OUTPUT_TRANSFORM_FLIPPED_90:
      return libyuv::kRotate90;
    case WL_OUTPUT_TRANSFORM_180:
    case WL_OUTPUT_TRANSFORM_FLIPPED:
      return libyuv::kRotate180;
    case WL_OUTPUT_TRANSFORM_270:
    case WL_OUTPUT_TRANSFORM_FLIPPED_270:
      return libyuv::kRotate270;
    case WL_OUTPUT_TRANSFORM_NORMAL:
    case WL_OUTPUT_TRANSFORM_FLIPPED_180:
      break;
  }
  return libyuv::kRotate0;
}

std::ptrdiff_t offset(std::int32_t y, std::int32_t stride, std::int32_t x) {
  return static_cast<std::ptrdiff_t>(y) * stride + static_cast<std::ptrdiff_t>(x) * 4;
}

/// Each of these is a rotation of what stands on its head.
bool isFlipped(wl_output_transform transform) { return transform >= WL_OUTPUT_TRANSFORM_FLIPPED; }

}  // namespace

bool UprightPixels::canRead(std::uint32_t format) {
  switch (format) {
    case WL_SHM_FORMAT_XRGB8888:
    case WL_SHM_FORMAT_ARGB8888:
    case WL_SHM_FORMAT_XBGR8888:
    case WL_SHM_FORMAT_ABGR8888:
    case WL_SHM_FORMAT_XRGB2101010:
    case WL_SHM_FORMAT_ARGB2101010:
    case WL_SHM_FORMAT_XBGR2101010:
    case WL_SHM_FORMAT_ABGR2101010:
      return true;
    default:
      return false;
  }
}

beneath::Pixels UprightPixels::update(const PanelPixels& panel,
                                      const std::vector<PixelRect>& areas) {
  const auto& layout = panel.layout;
  size_ = turned(PixelSize{layout.width, layout.height}, transform_);
  const auto width = static_cast<std::int32_t>(size_.width);
  const auto height = static_cast<std::int32_t>(size_.height);
  if (isAsWished(layout.format) && transform_ == WL_OUTPUT_TRANSFORM_NORMAL && !panel.isUpsideDown)
    return {panel.data, layout.stride, width, height};
  own_.resize(static_cast<std::size_t>(size_.width * size_.height * 4));
  for (const auto& area : areas) bring(panel, intersection(area, {0, 0, width, height}));
  return {own_.data(), static_cast<std::ptrdiff_t>(width) * 4, width, height};
}

void UprightPixels::bring(const PanelPixels& panel, const PixelRect& area) {
  if (area.isEmpty()) return;
  const auto& layout = panel.layout;
  auto part = turned(area, size_, inverse(transform_));
  if (panel.isUpsideDown) part.y = layout.height - part.bottom();
  const bool isAsIs = isAsWished(layout.format);
  const auto* const from =
      isAsIs ? panel.data + offset(part.y, layout.stride, part.x) : converted(panel, part);
  const auto ownStride = static_cast<int>(size_.width) * 4;
  const bool isOnItsHead = isFlipped(transform_) != panel.isUpsideDown;
  libyuv::ARGBRotate(from, isAsIs ? layout.stride : part.width * 4,
                     own_.data() + offset(area.y, ownStride, area.x), ownStride, part.width,
                     isOnItsHead ? -part.height : part.height, rotation(transform_));
}

/// A part of the panel in the wished colours, row by row.
const std::uint8_t* UprightPixels::converted(const PanelPixels& panel, const PixelRect& part) {
  const auto& layout = panel.layout;
  const auto* const from = panel.data + offset(part.y, layout.stride, part.x);
  const int stride = part.width * 4;
  converted_.resize(static_cast<std::size_t>(stride) * static_cast<std::size_t>(part.height));
  const auto convert = [&](auto how) {
    how(from, layout.stride, converted_.data(), stride, part.width, part.height);
    return converted_.data();
  };
  switch (layout.format) {
    case WL_SHM_FORMAT_XRGB2101010:
    case WL_SHM_FORMAT_ARGB2101010:
      return convert(libyuv::AR30ToARGB);
    case WL_SHM_FORMAT_XBGR2101010:
    case WL_SHM_FORMAT_ABGR2101010:
      return convert(libyuv::AB30ToARGB);
    default:
      return convert(libyuv::ABGRToARGB);
  }
}

}  // namespace vesk::wayland::screen
