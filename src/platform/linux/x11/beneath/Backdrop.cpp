#include "platform/linux/x11/beneath/Backdrop.h"

#include <algorithm>
#include <utility>

#include "platform/linux/x11/beneath/bareColour.h"

namespace vesk::x11::beneath {
namespace {

RootBackground::Painter painterOf(const WindowStack& stack) {
  if (stack.manager().drawsWallpaper) return RootBackground::Painter::itsOwn;
  return stack.isComposited() ? RootBackground::Painter::compositor
                              : RootBackground::Painter::server;
}

std::vector<PixelRect> outside(std::vector<PixelRect> rects, const std::vector<PixelRect>& cuts) {
  for (const auto& cut : cuts) rects = without(rects, cut);
  return rects;
}

}  // namespace

bool Backdrop::handle(const xcb_generic_event_t& event) {
  if (!background_.isReplacedBy(event)) return false;
  replaced_ = true;
  return true;
}

void Backdrop::follow(const WindowStack& stack, Traces::Time now) {
  windowsBefore_ = std::exchange(windows_, stack.windows());
  windowsAreNew_ = true;
  painter_ = painterOf(stack);
  // Who draws the windows draws the background too.
  const bool redrawn = std::exchange(composited_, stack.isComposited()) != stack.isComposited();
  const bool shown = painter_ != RootBackground::Painter::itsOwn;
  replaced_ = (replaced_ && shown) || redrawn;
  if (composited_) noteTraces(now);
}

/// A compositor may still show a window where it stands no more.
void Backdrop::noteTraces(Traces::Time now) {
  for (const auto& before : windowsBefore_) {
    const bool stays = std::ranges::any_of(windows_, [&](const StackedWindow& window) {
      return window.id == before.id && window.shown == before.shown;
    });
    if (!before.own && !stays) traces_.leave(intersection(before.shown, area_), now);
  }
}

/// A compositor shows the root window's background as it likes. Where a window has gone, the
/// picture knows nothing of what was there before.
void Backdrop::noteDrawn(const std::vector<PixelRect>& drawn, const Seen& seen) {
  if (drawn.empty() || std::exchange(windowsAreNew_, false)) return;
  if (painter_ != RootBackground::Painter::server || covered_.empty()) return;
  cleared_.note(without(bareParts(), seen.unsure), drawn, seen.picture.data());
}

void Backdrop::look(const server::SharedPixels& picture) {
  replaced_ = cleared_.isSeenIn(picture.data()) || replaced_;
}

void Backdrop::paint(const Patches& patches, const Patches& before, const Seen& seen) {
  covered_.clear();
  for (const auto& patch : patches) covered_.push_back(patch->area());
  const auto bare = bareParts();
  std::vector<PixelRect> unknown;
  for (const auto& patch : patches) {
    const auto colour = colourFor(patch->area(), bare, seen);
    const bool known =
        background_.paint(patch->background(), patch->area(), painter_, colour.value_or(0));
    const auto left = replaced_ ? std::vector{patch->area()} : keep(*patch, before, seen);
    if (!known && !colour) unknown.insert(unknown.end(), left.begin(), left.end());
  }
  unknown_ = std::move(unknown);
  replaced_ = false;
}

/// Paints what was beneath a patch, and what was in sight there. What is left, neither was.
std::vector<PixelRect> Backdrop::keep(Patch& patch, const Patches& before, const Seen& seen) const {
  std::vector<PixelRect> left{patch.area()};
  for (const auto& other : before) {
    const auto common = intersection(patch.area(), other->area());
    for (const auto& piece : outside({common}, unknown_)) {
      patch.inheritBackground(piece, *other);
      left = without(left, piece);
    }
  }
  for (const auto& piece : outside(inSight(patch.area(), seen), unknown_)) {
    patch.rememberBackground(piece, seen.picture, area_);
    left = without(left, piece);
  }
  return left;
}

/// Of the monitor, where neither windows lie nor any may still be shown.
std::vector<PixelRect> Backdrop::bareParts() const {
  std::vector<PixelRect> bare{area_};
  for (const auto& window : windows_) bare = without(bare, window.frame);
  return outside(outside(bare, covered_), traces_.parts());
}

/// What stands for a background that nobody has seen. While own windows may be shown anywhere, the
/// picture knows it, which is without them. Nothing where no background at all is in sight.
std::optional<std::uint32_t> Backdrop::colourFor(const PixelRect& part,
                                                 const std::vector<PixelRect>& bare,
                                                 const Seen& seen) const {
  if (!composited_) return 0;
  if (!bare.empty()) return bareColour(connection_, part, bare);
  const auto pieces = outside(inSight(area_, seen), unknown_);
  if (pieces.empty()) return std::nullopt;
  return bareColour(seen.picture, area_, part, pieces);
}

/// The pieces of a part where the picture shows no window.
std::vector<PixelRect> Backdrop::inSight(const PixelRect& part, const Seen& seen) const {
  auto pieces = outside(without({part}, seen.unsure), traces_.parts());
  for (const auto& window : windowsBefore_) {
    if (!window.own) pieces = without(pieces, window.shown);
  }
  return pieces;
}

}  // namespace vesk::x11::beneath
