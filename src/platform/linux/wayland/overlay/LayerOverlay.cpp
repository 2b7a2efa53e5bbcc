#include "platform/linux/wayland/overlay/LayerOverlay.h"

#include <QPainter>
#include <algorithm>
#include <cmath>
#include <utility>

#include "platform/isOn.h"
#include "platform/linux/wayland/overlay/seeThrough.h"

namespace vesk::wayland::overlay {
namespace {

using Change = beneath::OwnSurfaces::Change;

std::optional<server::Output> outputOf(const server::OutputList& outputs, const Rect& frame) {
  const auto all = outputs.current();
  const auto found = std::ranges::find_if(
      all, [&](const server::Output& output) { return isOn(output.area, frame); });
  return found == all.end() ? std::nullopt : std::optional(*found);
}

LayerArea areaOf(const PixelRect& rect) { return {rect.x, rect.y, rect.width, rect.height}; }

PixelRect times(const PixelRect& points, std::int32_t scale) {
  return areaOf(points).pixels(scale);
}

}  // namespace

LayerOverlay::LayerOverlay(std::shared_ptr<LayerStack> stack, const OverlayAppearance& appearance)
    : stack_(std::move(stack)), appearance_(appearance) {}

LayerOverlay::~LayerOverlay() { orderOut(); }

void LayerOverlay::orderFrontRegardless() {
  inFront_ = true;
  const Change change(stack_->ownSurfaces());
  stack_->add(*this);
  makeSurfaces();
  stack_->show();
}

void LayerOverlay::orderOut() {
  if (!std::exchange(inFront_, false)) return;
  const Change change(stack_->ownSurfaces());
  stack_->remove(*this);
  edges_.clear();
  background_.reset();
  output_.reset();
  stack_->paint();
  stack_->shell().settle();
}

void LayerOverlay::setLabel(const std::string& text) {
  if (!appearance_.label) return;
  text_ = text;
  if (!inFront_) return;
  const Change change(stack_->ownSurfaces());
  paint();
  stack_->shell().settle();
}

void LayerOverlay::paint() {
  if (!edges_.empty()) paintBorder();
  if (background_ != nullptr) paintBackground();
}

void LayerOverlay::adapt() {
  if (outputOf(stack_->shell().outputs(), appearance_.frame) == output_ && isWhole()) return;
  const Change change(stack_->ownSurfaces());
  makeSurfaces();
  stack_->show();
}

bool LayerOverlay::isWhole() const {
  return std::ranges::all_of(edges_, [](const auto& edge) { return edge->isShown(); }) &&
         (background_ == nullptr || background_->isShown());
}

void LayerOverlay::makeSurfaces() {
  auto& shell = stack_->shell();
  edges_.clear();
  background_.reset();
  output_ = outputOf(shell.outputs(), appearance_.frame);
  if (!output_) return;
  const auto make = [&](const LayerArea& area) {
    return std::make_unique<LayerSurface>(shell, stack_->ownSurfaces(), *output_, area,
                                          LayerSurface::Kind::sign);
  };
  for (const auto& edge : edgeAreas()) edges_.push_back(make(areaOf(edge)));
  if (appearance_.background) background_ = make(area());
  shell.connection().wait(
      [&] {
        return std::ranges::all_of(edges_, [](const auto& edge) { return edge->isReady(); }) &&
               (background_ == nullptr || background_->isReady());
      },
      LayerShell::Clock::now() + LayerShell::patience);
}

LayerArea LayerOverlay::area() const {
  Rect onOutput = appearance_.frame;
  onOutput.origin.x -= output_->area.origin.x;
  onOutput.origin.y -= output_->area.origin.y;
  constexpr double whole = 1;
  return areaOf(banner::pixelRect(onOutput, whole));
}

/// In points.
std::vector<PixelRect> LayerOverlay::edgeAreas() const {
  if (!appearance_.border) return {};
  const LayerArea frame = area();
  return banner::borderEdges({frame.x, frame.y, frame.width, frame.height},
                             static_cast<std::int32_t>(std::lround(appearance_.border->width)));
}

std::optional<banner::Tab> LayerOverlay::tab() const {
  if (!appearance_.background || !output_) return std::nullopt;
  const auto scale = output_->bufferScale;
  return banner::Tab{area().pixels(scale), appearance_.bottomCornerRadius * scale,
                     appearance_.background->alpha};
}

void LayerOverlay::paintBorder() {
  std::vector<banner::Tab> tabs;
  for (const auto* const other : stack_->above(*this)) {
    const auto tab = other->output_ == output_ ? other->tab() : std::nullopt;
    if (tab) tabs.push_back(*tab);
  }
  const auto areas = edgeAreas();
  for (std::size_t i = 0; i < edges_.size(); ++i) {
    const PixelRect edge = times(areas[i], output_->bufferScale);
    edges_[i]->show(banner::edgePicture(edge, appearance_.border->colour, tabs));
  }
}

void LayerOverlay::paintBackground() {
  // All of it is made fainter, the label as well: so much stronger it is painted first.
  Colour colour = *appearance_.background;
  colour.alpha = std::min(1.0, colour.alpha / mostOpaque);
  auto strip = tabPicture(colour);
  strip.label = appearance_.label;
  strip.text = text_;
  QImage picture = seeThrough(strip.paint());
  for (const auto* const other : stack_->beneath(*this)) {
    if (other->output_ == output_ && other->appearance_.border) underlay(picture, *other);
  }
  background_->show(picture);
}

banner::StripPicture LayerOverlay::tabPicture(const Colour& colour) const {
  banner::StripPicture picture;
  picture.frame = area().pixels(output_->bufferScale);
  picture.scale = output_->bufferScale;
  picture.background = colour;
  picture.bottomCornerRadius = appearance_.bottomCornerRadius;
  return picture;
}

/// What is fainter than the border would be less to see in its room than beside it: it lies over
/// the border's colour there.
void LayerOverlay::underlay(QImage& picture, const LayerOverlay& border) const {
  const Colour& colour = border.appearance_.border->colour;
  if (appearance_.background->alpha >= colour.alpha) return;
  const LayerArea own = area();
  QImage beneath = tabPicture(colour).paint();
  beneath.setDevicePixelRatio(1);
  picture.setDevicePixelRatio(1);
  QPainter painter(&picture);
  painter.setCompositionMode(QPainter::CompositionMode_DestinationOver);
  for (const auto& edge : border.edgeAreas()) {
    const PixelRect part = times(picture::moved(edge, -own.x, -own.y), output_->bufferScale);
    const QRect area(part.x, part.y, part.width, part.height);
    painter.drawImage(area.topLeft(), beneath.copy(area));
  }
}

}  // namespace vesk::wayland::overlay
