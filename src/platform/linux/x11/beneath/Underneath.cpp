#include "platform/linux/x11/beneath/Underneath.h"

#include <xcb/composite.h>

#include <algorithm>
#include <utility>

namespace vesk::x11::beneath {

Underneath::Underneath(const server::Connection& connection, const OwnWindows& ownWindows,
                       const PixelRect& area)
    : connection_(connection),
      area_(area),
      stack_(connection, ownWindows),
      covered_(area, ownWindows.justLeft(OwnWindows::Time::clock::now())),
      backdrop_(connection, area),
      formats_(pictureFormats(connection)),
      beneath_(connection, formats_),
      frames_(connection, beneath_, area),
      damage_(connection, beneath_),
      patches_(std::make_unique<Patches>(connection)) {
  auto* const c = connection_.get();
  const server::ReplyPtr<xcb_composite_query_version_reply_t> version(
      xcb_composite_query_version_reply(c, xcb_composite_query_version(c, 0, 4), nullptr));
  stack_.watch();
  backdrop_.watch();
  xcb_composite_redirect_subwindows(c, connection_.root(), XCB_COMPOSITE_REDIRECT_AUTOMATIC);
}

Underneath::~Underneath() = default;

bool Underneath::handle(const xcb_generic_event_t& event) {
  if (backdrop_.handle(event)) noteDisturbance(Disturbance::seam);
  if (const auto window = stack_.handle(event)) {
    noteDisturbance(beneath::disturbance(event, *window, stack_.windows()));
  }
  covered_.handle(event, CoveredParts::Time::clock::now());
  if (damage_.isTold(event)) return damage_.note(event);
  return (backdrop_.isReplaced() || stack_.isStale()) && isNeeded();
}

void Underneath::noteDisturbance(Disturbance disturbance) {
  disturbance_ = std::max(disturbance_, disturbance);
}

bool Underneath::isOverdue() const {
  return covered_.isOverdue(Traces::Time::clock::now()) || backdrop_.isInSightAtLast();
}

std::vector<PixelRect> Underneath::readStack(const Seen& seen) {
  disturbance_ = Disturbance::none;
  stack_.read();
  const auto now = Traces::Time::clock::now();
  backdrop_.follow(stack_, now);
  const auto parts = covered_.update(stack_.windows(), stack_.isComposited(), now);
  std::vector<PixelRect> changed;
  if (parts != parts_ || backdrop_.isReplaced() || backdrop_.isInSightAtLast())
    changed = rebuild(parts, seen);
  const bool chosenAnew = beneath_.choose(stack_, parts_);
  if (frames_.look(stack_.windows(), parts_) || chosenAnew) {
    patches_->markStale();
    changed.insert(changed.end(), parts_.begin(), parts_.end());
  }
  return changed;
}

std::vector<PixelRect> Underneath::rebuild(const std::vector<PixelRect>& parts, const Seen& seen) {
  auto changed = std::exchange(parts_, parts);
  changed.insert(changed.end(), parts.begin(), parts.end());
  auto patches = std::make_unique<Patches>(connection_, formats_, parts);
  backdrop_.paint(*patches, *patches_, seen);
  patches_ = std::move(patches);
  damage_.setCovered(parts);
  return changed;
}

void Underneath::cutOut(xcb_xfixes_region_t region) const {
  if (!patches_->isEmpty()) damage_.cutOut(region);
}

std::vector<PixelRect> Underneath::takeDamage(const std::vector<PixelRect>& drawn,
                                              const Seen& seen) {
  backdrop_.noteDrawn(drawn, seen);
  auto rects = damage_.take();
  const auto ofFrames = frames_.takeDamage(drawn);
  rects.insert(rects.end(), ofFrames.begin(), ofFrames.end());
  patches_->markStale(rects);
  return rects;
}

void Underneath::copyRows(int top, int bottom, server::SharedPixels& screen) const {
  patches_->copyRows(top, bottom, screen, area_);
}

}  // namespace vesk::x11::beneath
