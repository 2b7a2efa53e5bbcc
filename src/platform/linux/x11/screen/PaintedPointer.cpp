#include "platform/linux/x11/screen/PaintedPointer.h"

#include <xcb/xcbext.h>
#include <xcb/xfixes.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <utility>

namespace vesk::x11::screen {
namespace {

/// For so long nobody sees a pointer move. What has been asked for whether there is something to
/// paint need not be asked for again when it is painted.
constexpr std::chrono::milliseconds instant(1);

/// Of eight bits, in as many as the screen has.
std::uint32_t widened(std::uint32_t level, unsigned bits) {
  return bits == 8 ? level : level << 2U | level >> 6U;
}

/// A pixel of the screen beneath a premultiplied one of ARGB.
std::uint32_t blended(std::uint32_t over, std::uint32_t under, unsigned bits) {
  const std::uint32_t most = (1U << bits) - 1;
  const std::uint32_t keep = 255 - (over >> 24U);
  std::uint32_t result = 0;
  for (unsigned colour = 0; colour < 3; ++colour) {
    const std::uint32_t above = widened(over >> 8 * colour & 0xffU, bits);
    const std::uint32_t below = under >> bits * colour & most;
    result |= std::min(above + (below * keep + 127) / 255, most) << bits * colour;
  }
  return result;
}

}  // namespace

PaintedPointer::PaintedPointer(const server::Connection& connection, const server::Monitor& monitor,
                               picture::PixelLayout layout)
    : connection_(connection),
      monitor_(monitor),
      layout_(layout),
      event_(xcb_get_extension_data(connection.get(), &xcb_xfixes_id)->first_event),
      hidden_(connection),
      watch_(connection) {
  xcb_xfixes_select_cursor_input(connection_.get(), connection_.root(),
                                 XCB_XFIXES_CURSOR_NOTIFY_MASK_DISPLAY_CURSOR);
}

void PaintedPointer::handle(const xcb_generic_event_t& event) {
  if ((event.response_type & 0x7f) == event_ + XCB_XFIXES_CURSOR_NOTIFY) stale_ = true;
  watch_.handle(event, PointerWatch::Time::clock::now());
}

bool PaintedPointer::hasChanged() { return stale_ || (isToLook() && locate()); }

std::vector<PixelRect> PaintedPointer::repaint(std::uint8_t* pixels,
                                               const std::optional<PixelRect>& before) {
  const bool redrawn = refresh();
  const auto now = putOn(pixels);
  std::vector<PixelRect> changed;
  if (!redrawn && before == now) return changed;
  if (before) changed.push_back(*before);
  if (now) changed.push_back(*now);
  return changed;
}

/// Asks for its place and, where it looks different, for its image. Whether it looks different.
bool PaintedPointer::refresh() {
  const bool redrawn = stale_;
  if (redrawn) {
    load();
  } else if (isToLook() && PointerWatch::Time::clock::now() - locatedAt_ > instant) {
    locate();
  }
  return redrawn;
}

/// Whether it has moved, gone out of sight or come into sight.
bool PaintedPointer::locate() {
  auto* const c = connection_.get();
  const server::ReplyPtr<xcb_query_pointer_reply_t> pointer(
      xcb_query_pointer_reply(c, xcb_query_pointer(c, connection_.root()), nullptr));
  if (pointer == nullptr) return false;
  const auto before = frame_;
  const bool wasInSight = isInSight_;
  place(pointer->root_x, pointer->root_y);
  return isInSight_ != wasInSight || (isInSight_ && frame_ != before);
}

/// Its hot spot is there in the root window.
void PaintedPointer::place(int x, int y) {
  frame_.x = x - hotX_ - monitor_.x;
  frame_.y = y - hotY_ - monitor_.y;
  const auto now = HiddenPointer::Clock::now();
  locatedAt_ = now;
  const bool isHidden = !inMonitor().isEmpty() && hidden_.isHidden(now);
  isInSight_ = !inMonitor().isEmpty() && !isHidden;
  watch_.see(x, y, now);
  // Nobody tells that it comes back.
  if (isHidden) watch_.wake(now);
}

void PaintedPointer::load() {
  auto* const c = connection_.get();
  const server::ReplyPtr<xcb_xfixes_get_cursor_image_reply_t> image(
      xcb_xfixes_get_cursor_image_reply(c, xcb_xfixes_get_cursor_image(c), nullptr));
  if (image == nullptr) return;
  stale_ = false;
  hotX_ = image->xhot;
  hotY_ = image->yhot;
  frame_.width = image->width;
  frame_.height = image->height;
  place(image->x, image->y);
  const auto* const first = xcb_xfixes_get_cursor_image_cursor_image(image.get());
  image_.assign(first, first + xcb_xfixes_get_cursor_image_cursor_image_length(image.get()));
}

std::optional<PixelRect> PaintedPointer::putOn(std::uint8_t* pixels) {
  painted_.reset();
  const PixelRect area = inMonitor();
  const auto cells =
      static_cast<std::size_t>(frame_.width) * static_cast<std::size_t>(frame_.height);
  if (!isInSight_ || image_.size() < cells) return painted_;
  painted_ = area;
  beneath_.clear();
  const unsigned bits = layout_ == picture::PixelLayout::eightBits ? 8 : 10;
  for (int y = area.y; y < area.bottom(); ++y) {
    for (int x = area.x; x < area.right(); ++x) {
      std::uint8_t* const place = at(pixels, x, y);
      std::uint32_t pixel = 0;
      std::memcpy(&pixel, place, sizeof pixel);
      beneath_.push_back(pixel);
      const auto over =
          image_[static_cast<std::size_t>((y - frame_.y) * frame_.width + x - frame_.x)];
      pixel = blended(over, pixel, bits);
      std::memcpy(place, &pixel, sizeof pixel);
    }
  }
  return painted_;
}

std::optional<PixelRect> PaintedPointer::takeOff(std::uint8_t* pixels) {
  if (!painted_) return std::nullopt;
  const auto row = static_cast<std::size_t>(painted_->width);
  for (int y = 0; y < painted_->height; ++y) {
    std::memcpy(at(pixels, painted_->x, painted_->y + y),
                beneath_.data() + static_cast<std::size_t>(y) * row, row * 4);
  }
  return std::exchange(painted_, std::nullopt);
}

}  // namespace vesk::x11::screen
