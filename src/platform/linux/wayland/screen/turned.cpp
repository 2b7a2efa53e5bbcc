#include "platform/linux/wayland/screen/turned.h"

namespace vesk::wayland::screen {

PixelRect turned(const PixelRect& rect, PixelSize panel, wl_output_transform transform) {
  const auto fromRight = static_cast<std::int32_t>(panel.width) - rect.right();
  const auto fromBottom = static_cast<std::int32_t>(panel.height) - rect.bottom();
  switch (transform) {
    case WL_OUTPUT_TRANSFORM_90:
      return {fromBottom, rect.x, rect.height, rect.width};
    case WL_OUTPUT_TRANSFORM_180:
      return {fromRight, fromBottom, rect.width, rect.height};
    case WL_OUTPUT_TRANSFORM_270:
      return {rect.y, fromRight, rect.height, rect.width};
    case WL_OUTPUT_TRANSFORM_FLIPPED:
      return {fromRight, rect.y, rect.width, rect.height};
    case WL_OUTPUT_TRANSFORM_FLIPPED_90:
      return {rect.y, rect.x, rect.height, rect.width};
    case WL_OUTPUT_TRANSFORM_FLIPPED_180:
      return {rect.x, fromBottom, rect.width, rect.height};
    case WL_OUTPUT_TRANSFORM_FLIPPED_270:
      return {fromBottom, fromRight, rect.height, rect.width};
    case WL_OUTPUT_TRANSFORM_NORMAL:
      break;
  }
  return rect;
}

PixelSize turned(PixelSize panel, wl_output_transform transform) {
  const auto whole = turned({0, 0, 2, 1}, panel, transform);
  return whole.width == 2 ? panel : PixelSize{panel.height, panel.width};
}

wl_output_transform inverse(wl_output_transform transform) {
  if (transform == WL_OUTPUT_TRANSFORM_90) return WL_OUTPUT_TRANSFORM_270;
  if (transform == WL_OUTPUT_TRANSFORM_270) return WL_OUTPUT_TRANSFORM_90;
  return transform;
}

}  // namespace vesk::wayland::screen
