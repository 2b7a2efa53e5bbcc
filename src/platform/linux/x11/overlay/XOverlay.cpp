#include "platform/linux/x11/overlay/XOverlay.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace vesk::x11::overlay {

XOverlay::XOverlay(std::shared_ptr<OverlayStack> stack, beneath::OwnWindows& ownWindows,
                   const OverlayAppearance& appearance, double scale)
    : stack_(std::move(stack)),
      appearance_(appearance),
      scale_(scale),
      ownWindows_(ownWindows),
      frame_(banner::pixelRect(appearance_.frame, scale)) {
  if (!stack_->connection()) return;
  adapt();
}

XOverlay::~XOverlay() { stack_->orderOut(*this); }

void XOverlay::orderFrontRegardless() {
  inFront_ = true;
  stack_->orderFront(*this);
  mapWindows();
  stack_->paintBorders();
  stack_->settle();
}

void XOverlay::orderOut() {
  inFront_ = false;
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

std::optional<banner::Tab> XOverlay::tab() const {
  if (!appearance_.background) return std::nullopt;
  return banner::Tab{frame_, cornerRadius(), appearance_.background->alpha};
}

void XOverlay::paintBorder() {
  if (edges_.empty()) return;
  const Colour colour = asBlended(appearance_.border->colour);
  const auto rects = banner::borderEdges(frame_, borderThickness());
  auto above = stack_->tabsAbove(*this);
  // In the room for a fainter one there would be less to see than beside it.
  std::erase_if(above, [&](const banner::Tab& tab) { return tab.alpha < colour.alpha; });
  for (std::size_t i = 0; i < edges_.size(); ++i) {
    const bool isCovered = std::ranges::any_of(above, [&](const banner::Tab& tab) {
      return !intersection(tab.frame, rects[i]).isEmpty();
    });
    if (isCovered && isTranslucent(*edges_[i])) {
      edges_[i]->show(banner::edgePicture(rects[i], colour, above));
    } else {
      edges_[i]->fill(colour);
    }
  }
}

void XOverlay::adapt() {
  // A compositor that has stepped aside lets only windows through that are like any program's, and
  // only those that come up after it did.
  const auto kind = stack_->composition() == Composition::bypassed
                        ? OverlayWindow::Kind::plain
                        : OverlayWindow::Kind::translucent;
  const auto type = stack_->windowType();
  const bool anew = windows().empty() || kind != kind_ || type != type_;
  kind_ = kind;
  type_ = type;
  if (anew) makeWindows();
  paint();
  if (anew && inFront_) mapWindows();
}

void XOverlay::mapAnew() {
  if (!inFront_) return;
  // Nothing is missing in between: the old ones go when the new ones have come.
  const auto oldEdges = std::exchange(edges_, {});
  const auto oldBackground = std::exchange(background_, nullptr);
  makeWindows();
  paint();
  mapWindows();
}

bool XOverlay::meets(const PixelRect& part) const {
  if (!inFront_) return false;
  const auto meetsPart = [&](const PixelRect& rect) { return !intersection(rect, part).isEmpty(); };
  if (appearance_.background && meetsPart(frame_)) return true;
  return appearance_.border &&
         std::ranges::any_of(banner::borderEdges(frame_, borderThickness()), meetsPart);
}

std::int32_t XOverlay::borderThickness() const {
  return static_cast<std::int32_t>(std::lround(appearance_.border->width * scale_));
}

double XOverlay::cornerRadius() const { return appearance_.bottomCornerRadius * scale_; }

void XOverlay::paint() {
  paintBorder();
  if (background_ != nullptr) paintBackground();
}

void XOverlay::makeWindows() {
  const auto make = [&](const PixelRect& frame) {
    return std::make_unique<OverlayWindow>(stack_->connection(), ownWindows_, frame, kind_, type_);
  };
  edges_.clear();
  if (appearance_.border) {
    for (const auto& edge : banner::borderEdges(frame_, borderThickness()))
      edges_.push_back(make(edge));
  }
  if (appearance_.background) background_ = make(frame_);
}

void XOverlay::mapWindows() {
  for (const auto& edge : edges_) edge->map();
  if (background_ != nullptr) background_->map();
}

Colour XOverlay::asBlended(Colour colour) const {
  // Nobody blends: what is translucent would come out as a mixture with black.
  if (stack_->composition() != Composition::blended) colour.alpha = 1;
  return colour;
}

/// Whether what is translucent in the window is so on the screen.
bool XOverlay::isTranslucent(const OverlayWindow& window) const {
  return stack_->composition() == Composition::blended && window.hasAlpha();
}

void XOverlay::paintBackground() {
  // Pixels that cannot be translucent are in their full colour or not there.
  const bool smooth = isTranslucent(*background_);
  const banner::StripPicture picture{frame_,
                                     scale_,
                                     asBlended(*appearance_.background),
                                     smooth ? appearance_.bottomCornerRadius : 0,
                                     appearance_.label,
                                     text_};
  background_->show(picture.paint());
  // A window that a compositor which has stepped aside is to let through must be whole: its corners
  // stay square.
  const bool cut = !smooth && stack_->composition() != Composition::bypassed;
  const auto radius = static_cast<std::int32_t>(std::lround(cornerRadius()));
  background_->cutTo(cut ? banner::tabRows(frame_.width, frame_.height, radius)
                         : std::vector<PixelRect>{});
}

}  // namespace vesk::x11::overlay
