#include "platform/linux/x11/beneath/Underneath.h"

#include <xcb/composite.h>
#include <xcb/xcbext.h>

#include <algorithm>
#include <cstring>
#include <span>
#include <utility>

#include "platform/linux/x11/beneath/PictureFormats.h"
#include "platform/linux/x11/server/rectangles.h"

namespace vesk::x11::beneath {
namespace {

/// How far the shadow of a framed window reaches that a compositor draws.
constexpr std::int32_t shadowReach = 40;

/// A compositor draws when it likes, and some let windows fade away.
constexpr std::chrono::milliseconds longestFading{500};

std::vector<PixelRect> withoutWindows(std::vector<PixelRect> parts,
                                      const std::vector<StackedWindow>& windows) {
  for (const auto& window : windows) {
    if (!window.own) parts = without(parts, window.shown);
  }
  return parts;
}

std::vector<PixelRect> rectanglesOf(const xcb_xfixes_fetch_region_reply_t& region) {
  const std::span all(xcb_xfixes_fetch_region_rectangles(&region),
                      static_cast<std::size_t>(xcb_xfixes_fetch_region_rectangles_length(&region)));
  std::vector<PixelRect> rects;
  rects.reserve(all.size());
  for (const auto& each : all) rects.push_back({each.x, each.y, each.width, each.height});
  return rects;
}

}  // namespace

Underneath::Underneath(const server::Connection& connection, const OwnWindows& ownWindows,
                       const PixelRect& area)
    : connection_(connection),
      area_(area),
      stack_(connection, ownWindows),
      background_(connection),
      formats_(pictureFormats(connection)) {
  auto* const c = connection_.get();
  const server::ReplyPtr<xcb_composite_query_version_reply_t> version(
      xcb_composite_query_version_reply(c, xcb_composite_query_version(c, 0, 4), nullptr));
  stack_.watch();
  background_.watch();
  for (auto* const region : {&covered_, &drawn_, &scratch_}) {
    *region = xcb_generate_id(c);
    xcb_xfixes_create_region(c, *region, 0, nullptr);
  }
  xcb_composite_redirect_subwindows(c, connection_.root(), XCB_COMPOSITE_REDIRECT_AUTOMATIC);
}

Underneath::~Underneath() = default;

bool Underneath::handle(const xcb_generic_event_t& event) {
  if (background_.isReplacedBy(event)) {
    wallpaperReplaced_ = true;
    noteDisturbance(Disturbance::seam);
  }
  if (const auto window = stack_.handle(event)) {
    noteDisturbance(beneath::disturbance(event, *window, stack_.windows()));
  }
  noteMove(event);
  const auto* const damage = xcb_get_extension_data(connection_.get(), &xcb_damage_id);
  if ((event.response_type & 0x7f) == damage->first_event + XCB_DAMAGE_NOTIFY) {
    const auto& notice = reinterpret_cast<const xcb_damage_notify_event_t&>(event);
    const auto found = contents_.find(notice.drawable);
    if (found == contents_.end()) return false;
    found->second->noteDamage();
    return true;
  }
  return (wallpaperReplaced_ || stack_.isStale()) && isNeeded();
}

void Underneath::noteDisturbance(Disturbance disturbance) {
  disturbance_ = std::max(disturbance_, disturbance);
}

bool Underneath::isNeeded() const { return !patches_.empty() || stack_.expectsOwnWindows(); }

bool Underneath::isDamaged() const {
  return std::ranges::any_of(contents_, [](const auto& each) { return each.second->hasDamage(); });
}

std::vector<PixelRect> Underneath::readStack(const Seen& seen) {
  disturbance_ = Disturbance::none;
  const auto before = stack_.windows();
  stack_.read();
  const auto parts = coveredParts();
  // Who draws the windows draws the background too.
  const bool redrawn = std::exchange(composited_, stack_.isComposited()) != stack_.isComposited();
  const bool shown = painter() != RootBackground::Painter::itsOwn;
  wallpaperReplaced_ = (wallpaperReplaced_ && shown) || redrawn;
  const bool partsChanged = parts != parts_ || wallpaperReplaced_;
  std::vector<PixelRect> changed;
  if (partsChanged) changed = rebuild(parts, before, seen);
  wallpaperReplaced_ = false;
  if (chooseWindows()) {
    for (const auto& patch : patches_) patch->markStale();
    changed.insert(changed.end(), parts_.begin(), parts_.end());
  }
  return changed;
}

/// Where a window has only passed through, a compositor may still show it later on.
void Underneath::noteMove(const xcb_generic_event_t& event) {
  if ((event.response_type & 0x7f) != XCB_CONFIGURE_NOTIFY || !composited_) return;
  const auto& notice = reinterpret_cast<const xcb_configure_notify_event_t&>(event);
  const auto& windows = stack_.windows();
  const auto found = std::ranges::find(windows, notice.window, &StackedWindow::id);
  if (found == windows.end() || !found->own) return;
  auto moved = *found;
  moved.frame = {notice.x, notice.y, notice.width + 2 * notice.border_width,
                 notice.height + 2 * notice.border_width};
  leave(partOf(moved));
}

/// A compositor draws shadows around frames, which are the program's own too.
PixelRect Underneath::partOf(const StackedWindow& window) const {
  const bool shadowed = window.framed && stack_.isComposited();
  return intersection(padded(window.frame, shadowed ? shadowReach : 0), area_);
}

std::vector<PixelRect> Underneath::ownParts() const {
  std::vector<PixelRect> parts;
  for (const auto& window : stack_.windows()) {
    if (window.own) parts.push_back(partOf(window));
  }
  return parts;
}

std::vector<PixelRect> Underneath::coveredParts() {
  const auto now = std::chrono::steady_clock::now();
  std::erase_if(left_, [&](const Left& left) { return left.until <= now; });
  const auto before = std::exchange(own_, ownParts());
  for (const auto& part : before) {
    if (stack_.isComposited() && std::ranges::count(own_, part) == 0) leave(part);
  }
  auto parts = own_;
  for (const auto& left : left_) parts.push_back(left.part);
  return disjoint(parts);
}

/// A window that moves leaves one growing trace, not many.
void Underneath::leave(const PixelRect& part) {
  Left trace{part, std::chrono::steady_clock::now() + longestFading};
  std::erase_if(left_, [&](const Left& left) {
    const bool meets = !intersection(left.part, trace.part).isEmpty();
    if (meets) trace.part = around(left.part, trace.part);
    return meets;
  });
  left_.push_back(trace);
}

bool Underneath::isOverdue() const {
  if (left_.empty()) return false;
  const auto now = std::chrono::steady_clock::now();
  return std::ranges::any_of(left_, [&](const Left& left) { return left.until <= now; });
}

std::vector<PixelRect> Underneath::rebuild(const std::vector<PixelRect>& parts,
                                           const std::vector<StackedWindow>& before,
                                           const Seen& seen) {
  auto changed = std::exchange(parts_, parts);
  changed.insert(changed.end(), parts.begin(), parts.end());
  const auto old = std::exchange(patches_, {});
  const auto oldMemory = std::move(memory_);
  makePatches(parts);
  paintBackgrounds(old, before, seen);
  noteParts();
  return changed;
}

void Underneath::noteParts() {
  const auto rects = server::rectangles(parts_);
  xcb_xfixes_set_region(connection_.get(), covered_, static_cast<std::uint32_t>(rects.size()),
                        rects.data());
}

void Underneath::makePatches(const std::vector<PixelRect>& parts) {
  const auto* const screen = xcb_setup_roots_iterator(xcb_get_setup(connection_.get())).data;
  const auto format = formats_.find(screen->root_visual);
  std::size_t bytes = 0;
  for (const auto& part : parts) bytes += Patch::bytesOf(part);
  if (bytes > 0) memory_ = std::make_unique<server::SharedPixels>(connection_, bytes);
  if (memory_ == nullptr || !*memory_ || format == formats_.end()) return;
  std::size_t offset = 0;
  for (const auto& part : parts) {
    patches_.push_back(
        std::make_unique<Patch>(connection_, part, *memory_, offset, format->second));
    offset += Patch::bytesOf(part);
  }
}

/// Where no window has hidden the root window, the picture before shows best what is there.
void Underneath::paintBackgrounds(const std::vector<std::unique_ptr<Patch>>& old,
                                  const std::vector<StackedWindow>& before, const Seen& seen) {
  const std::uint32_t colour = composited_ && !patches_.empty() ? bareColour() : 0;
  for (const auto& patch : patches_) {
    background_.paint(patch->background(), patch->area(), painter(), colour);
    if (wallpaperReplaced_) continue;
    for (const auto& other : old) patch->inheritBackground(*other);
    for (const auto& piece : withoutWindows(without({patch->area()}, seen.unsure), before)) {
      patch->rememberBackground(piece, seen.picture, area_);
    }
  }
}

RootBackground::Painter Underneath::painter() const {
  if (stack_.manager().drawsWallpaper) return RootBackground::Painter::itsOwn;
  return composited_ ? RootBackground::Painter::compositor : RootBackground::Painter::server;
}

/// Of the screen where no window is.
std::uint32_t Underneath::bareColour() const {
  std::vector<PixelRect> bare{area_};
  for (const auto& window : stack_.windows()) bare = without(bare, window.frame);
  for (const auto& part : parts_) bare = without(bare, part);
  std::uint32_t colour = 0;
  if (bare.empty()) return colour;
  const auto& piece = bare.front();
  const server::ReplyPtr<xcb_get_image_reply_t> image(xcb_get_image_reply(
      connection_.get(),
      xcb_get_image(connection_.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, connection_.root(),
                    static_cast<std::int16_t>(piece.x + piece.width / 2),
                    static_cast<std::int16_t>(piece.y + piece.height / 2), 1, 1, ~0U),
      nullptr));
  if (image != nullptr && xcb_get_image_data_length(image.get()) >= 4) {
    std::memcpy(&colour, xcb_get_image_data(image.get()), sizeof colour);
  }
  return colour;
}

/// Whether the windows beneath the own ones, or their order, are others than before.
bool Underneath::chooseWindows() {
  const auto replaced = stack_.takeReplaced();
  std::map<xcb_window_t, std::unique_ptr<WindowContents>> chosen;
  std::vector<const WindowContents*> order;
  bool changed = false;
  for (const auto& window : stack_.windows()) {
    const auto format = formats_.find(window.visual);
    const auto covers = [&](const PixelRect& part) {
      return !intersection(part, window.shown).isEmpty();
    };
    if (window.own || format == formats_.end() || std::ranges::none_of(parts_, covers)) continue;
    auto& contents = chosen[window.id];
    if (const auto known = contents_.find(window.id); known != contents_.end()) {
      contents = std::move(known->second);
      if (replaced.contains(window.id) || contents->window() != window) {
        contents->renew(window);
        changed = true;
      }
    } else {
      contents = std::make_unique<WindowContents>(connection_, window, format->second);
    }
    order.push_back(contents.get());
  }
  changed = changed || order != bottomToTop_;
  contents_ = std::move(chosen);
  bottomToTop_ = std::move(order);
  return lookAtFrames() || changed;
}

/// Whether the colour of a frame that the compositor alone has is another than before.
bool Underneath::lookAtFrames() {
  bool changed = false;
  auto hidden = parts_;
  const auto& windows = stack_.windows();
  std::for_each(windows.rbegin(), windows.rend(), [&](const StackedWindow& window) {
    const auto found = contents_.find(window.id);
    if (found != contents_.end() && window.kept != window.shown) {
      auto pieces = without({intersection(window.shown, area_)}, window.kept);
      for (const auto& cover : hidden) pieces = without(pieces, cover);
      auto& colour = found->second->frameColour();
      colour.setInSight(std::move(pieces));
      changed = colour.look(connection_) || changed;
    }
    if (!window.own) hidden.push_back(window.shown);
  });
  return changed;
}

void Underneath::cutOut(xcb_xfixes_region_t region) const {
  if (!patches_.empty()) xcb_xfixes_subtract_region(connection_.get(), region, covered_, region);
}

std::vector<PixelRect> Underneath::takeDamage(const std::vector<PixelRect>& drawn) {
  auto rects = damageOfContents();
  const auto ofFrames = damageOfFrames(drawn);
  rects.insert(rects.end(), ofFrames.begin(), ofFrames.end());
  for (const auto& patch : patches_) {
    for (const auto& rect : rects) patch->markStale(rect);
  }
  return rects;
}

/// A frame that looks different where it is in sight does so where it is hidden.
std::vector<PixelRect> Underneath::damageOfFrames(const std::vector<PixelRect>& drawn) {
  std::vector<PixelRect> rects;
  for (const auto& [id, contents] : contents_) {
    auto& colour = contents->frameColour();
    if (!colour.isTouchedBy(drawn) || !colour.look(connection_)) continue;
    for (const auto& part : parts_) {
      const auto rect = intersection(part, contents->window().shown);
      if (!rect.isEmpty()) rects.push_back(rect);
    }
  }
  return rects;
}

std::vector<PixelRect> Underneath::damageOfContents() {
  auto* const c = connection_.get();
  if (!isDamaged()) return {};
  xcb_xfixes_set_region(c, drawn_, 0, nullptr);
  for (const auto& [id, contents] : contents_) contents->takeDamage(drawn_, scratch_);
  xcb_xfixes_intersect_region(c, drawn_, covered_, drawn_);
  const server::ReplyPtr<xcb_xfixes_fetch_region_reply_t> region(
      xcb_xfixes_fetch_region_reply(c, xcb_xfixes_fetch_region(c, drawn_), nullptr));
  return region == nullptr ? std::vector<PixelRect>{} : rectanglesOf(*region);
}

void Underneath::request() {
  for (const auto& patch : patches_) patch->request(bottomToTop_, composited_);
}

bool Underneath::collect() {
  bool complete = true;
  for (const auto& patch : patches_) complete = patch->collect() && complete;
  return complete;
}

void Underneath::copyRows(int top, int bottom, server::SharedPixels& screen) const {
  for (const auto& patch : patches_) patch->copyRows(top, bottom, screen, area_);
}

}  // namespace vesk::x11::beneath
