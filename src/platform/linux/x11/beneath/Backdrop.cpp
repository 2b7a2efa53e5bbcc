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

void Backdrop::paint(const Patches& patches, const Patches& before, const Seen& seen) {
  const auto bare = bareParts(patches);
  for (const auto& patch : patches) {
    background_.paint(patch->background(), patch->area(), painter_,
                      colourFor(patch->area(), bare, seen));
    if (replaced_) continue;
    for (const auto& other : before) patch->inheritBackground(*other);
    for (const auto& piece : inSight(patch->area(), seen)) {
      patch->rememberBackground(piece, seen.picture, area_);
    }
  }
  replaced_ = false;
}

/// Of the monitor, where neither windows lie nor any may still be shown.
std::vector<PixelRect> Backdrop::bareParts(const Patches& patches) const {
  std::vector<PixelRect> bare{area_};
  for (const auto& window : windows_) bare = without(bare, window.frame);
  for (const auto& patch : patches) bare = without(bare, patch->area());
  return outside(bare, traces_.parts());
}

/// What stands for a background that nobody has seen. While own windows may be shown anywhere, the
/// picture knows it, which is without them.
std::uint32_t Backdrop::colourFor(const PixelRect& part, const std::vector<PixelRect>& bare,
                                  const Seen& seen) const {
  if (!composited_) return 0;
  if (!bare.empty()) return bareColour(connection_, part, bare);
  return bareColour(seen.picture, area_, part, inSight(area_, seen));
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
