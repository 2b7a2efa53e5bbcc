#include "platform/linux/x11/XOverlay.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "platform/linux/x11/StripPicture.h"

namespace vesk::x11 {

XOverlay::XOverlay(std::shared_ptr<OverlayStack> stack, OwnWindows& ownWindows,
                   const OverlayAppearance& appearance, double scale)
    : stack_(std::move(stack)),
      appearance_(appearance),
      scale_(scale),
      frame_(pixelRect(appearance_.frame, scale)) {
  if (!stack_->connection()) return;
  const auto make = [&](const PixelRect& frame) {
    return std::make_unique<OverlayWindow>(stack_->connection(), ownWindows, frame);
  };
  if (appearance_.border) {
    const auto thickness =
        static_cast<std::int32_t>(std::lround(appearance_.border->width * scale_));
    for (const auto& edge : borderEdges(frame_, thickness)) {
      edges_.push_back(make(edge));
    }
  }
  if (appearance_.background) background_ = make(frame_);
  repaint();
}

XOverlay::~XOverlay() { stack_->orderOut(*this); }

void XOverlay::orderFrontRegardless() {
  stack_->orderFront(*this);
  for (const auto& edge : edges_) edge->map();
  if (background_ != nullptr) background_->map();
  xcb_flush(stack_->connection().get());
}

void XOverlay::orderOut() {
  stack_->orderOut(*this);
  for (const auto& edge : edges_) edge->unmap();
  if (background_ != nullptr) background_->unmap();
  xcb_flush(stack_->connection().get());
}

void XOverlay::setLabel(const std::string& text) {
  if (!appearance_.label || background_ == nullptr) return;
  text_ = text;
  paintBackground();
  xcb_flush(stack_->connection().get());
}

std::vector<xcb_window_t> XOverlay::windows() const {
  std::vector<xcb_window_t> ids;
  if (background_ != nullptr) ids.push_back(background_->id());
  for (const auto& edge : edges_) ids.push_back(edge->id());
  return ids;
}

void XOverlay::repaint() {
  for (const auto& edge : edges_) edge->fill(asBlended(appearance_.border->colour));
  if (background_ != nullptr) paintBackground();
}

Colour XOverlay::asBlended(Colour colour) const {
  // Nobody blends: what is translucent would come out as a mixture with black.
  if (!stack_->composited()) colour.alpha = 1;
  return colour;
}

void XOverlay::paintBackground() {
  StripPicture picture{frame_,
                       scale_,
                       asBlended(*appearance_.background),
                       appearance_.bottomCornerRadius,
                       appearance_.label,
                       text_};
  background_->show(picture.paint());
  // Where nobody blends, what is outside the corners would come out black: it is cut off.
  const bool blended = stack_->composited() && background_->hasAlpha();
  const auto radius =
      static_cast<std::int32_t>(std::lround(appearance_.bottomCornerRadius * scale_));
  background_->cutTo(blended ? std::vector<PixelRect>{}
                             : tabRows(frame_.width, frame_.height, radius));
}

}  // namespace vesk::x11
