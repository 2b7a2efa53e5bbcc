#include "platform/linux/x11/screen/ScreenGrabber.h"

#include <xcb/randr.h>
#include <xcb/shm.h>
#include <xcb/xcbext.h>

#include <algorithm>
#include <cstring>
#include <span>
#include <utility>

namespace vesk::x11::screen {
namespace {

/// Above so many rectangles their bounding box is cheaper to fetch than they are to sort out.
constexpr std::size_t mostRectangles = 24;

/// Windows that move as fast as hands and screens do leave the server alone for long enough.
constexpr int mostAttempts = 4;

/// A seam for once is better than a picture that stands while something else never does.
constexpr std::chrono::milliseconds longestWait{150};

PixelRect aroundAll(const std::vector<PixelRect>& rects) {
  PixelRect all;
  for (const auto& rect : rects) all = around(all, rect);
  return all;
}

struct Rows {
  int first = 0;
  int end = 0;
};

/// Whole rows fit into the shared picture without copying; rows that meet are fetched together.
std::vector<Rows> rowsOf(const std::vector<PixelRect>& rects) {
  std::vector<Rows> rows;
  rows.reserve(rects.size());
  for (const auto& rect : rects) rows.push_back({rect.y, rect.y + rect.height});
  std::ranges::sort(rows, {}, &Rows::first);
  std::vector<Rows> merged;
  for (const auto& each : rows) {
    if (!merged.empty() && each.first <= merged.back().end) {
      merged.back().end = std::max(merged.back().end, each.end);
    } else {
      merged.push_back(each);
    }
  }
  return merged;
}

}  // namespace

ScreenGrabber::ScreenGrabber(const server::Monitor& monitor, bool showsCursor,
                             const beneath::OwnWindows* leftOut)
    : monitor_(monitor), leftOut_(leftOut), unsure_(area()) {
  if (!connection_ || !supportsExtensions()) return;
  pixels_ = std::make_unique<server::SharedPixels>(
      connection_, static_cast<std::size_t>(stride()) * static_cast<std::size_t>(monitor_.height));
  if (!*this) return;
  if (showsCursor) pointer_.emplace(connection_, monitor_);
  watch();
}

ScreenGrabber::~ScreenGrabber() = default;

bool ScreenGrabber::supportsExtensions() {
  auto* c = connection_.get();
  const auto* damage = xcb_get_extension_data(c, &xcb_damage_id);
  const auto* fixes = xcb_get_extension_data(c, &xcb_xfixes_id);
  const auto* randr = xcb_get_extension_data(c, &xcb_randr_id);
  const auto* shm = xcb_get_extension_data(c, &xcb_shm_id);
  for (const auto* each : {damage, fixes, randr, shm}) {
    if (each == nullptr || each->present == 0) return false;
  }
  const server::ReplyPtr<xcb_damage_query_version_reply_t> damageVersion(
      xcb_damage_query_version_reply(c, xcb_damage_query_version(c, 1, 1), nullptr));
  const server::ReplyPtr<xcb_xfixes_query_version_reply_t> fixesVersion(
      xcb_xfixes_query_version_reply(c, xcb_xfixes_query_version(c, 5, 0), nullptr));
  damageEvent_ = damage->first_event;
  randrEvent_ = randr->first_event;
  const auto* screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
  // Four bytes a pixel: every screen of 24 and 32 bits.
  return damageVersion != nullptr && fixesVersion != nullptr && screen->root_depth >= 24;
}

void ScreenGrabber::watch() {
  auto* c = connection_.get();
  const xcb_window_t root = connection_.root();
  damage_ = xcb_generate_id(c);
  xcb_damage_create(c, damage_, root, XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
  region_ = xcb_generate_id(c);
  xcb_xfixes_create_region(c, region_, 0, nullptr);
  xcb_randr_select_input(c, root,
                         XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
                             XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE);
  if (leftOut_ != nullptr && connection_.offers("Composite")) {
    underneath_ = std::make_unique<beneath::Underneath>(connection_, *leftOut_, area());
  }
  xcb_flush(c);
}

std::optional<ScreenGrabber::News> ScreenGrabber::readEvents() {
  pollEvents();
  if (!connection_) return std::nullopt;
  if (isHeldBack()) news_.drawn = true;
  return std::exchange(news_, {});
}

void ScreenGrabber::pollEvents() {
  while (auto* raw = xcb_poll_for_event(connection_.get())) {
    const server::ReplyPtr<xcb_generic_event_t> event(raw);
    const auto type = static_cast<std::uint8_t>(event->response_type & 0x7f);
    if (type == damageEvent_ + XCB_DAMAGE_NOTIFY &&
        reinterpret_cast<const xcb_damage_notify_event_t&>(*event).damage == damage_) {
      news_.drawn = drawn_ = true;
    }
    if (type == randrEvent_ || type == randrEvent_ + XCB_RANDR_NOTIFY) news_.layoutChanged = true;
    if (pointer_) pointer_->handle(*event);
    if (underneath_ != nullptr && underneath_->handle(*event)) news_.drawn = true;
  }
  if (underneath_ != nullptr && underneath_->isOverdue()) news_.drawn = true;
}

std::optional<std::vector<PixelRect>> ScreenGrabber::grab() {
  const auto pointer = pointer_ ? pointer_->takeOff(pixels_->data()) : std::nullopt;
  const auto spoilt = update();
  if (!spoilt) return std::nullopt;
  if (!isToWait(*spoilt)) {
    if (pointer_) repaintPointer(pointer);
    return std::exchange(untold_, {});
  }
  if (pointer) untold_.push_back(*pointer);
  if (untold_.size() > mostRectangles) untold_ = {aroundAll(untold_)};
  return std::vector<PixelRect>{};
}

/// Brings the pixels up to date, but for the pointer, and tells what has spoilt them even so;
/// nothing when they cannot be had.
std::optional<beneath::Disturbance> ScreenGrabber::update() {
  for (int attempts = 0; attempts < mostAttempts; ++attempts) {
    if (!takePicture()) return std::nullopt;
    // The answers have brought along what has happened until then.
    pollEvents();
    if (underneath_ == nullptr || !underneath_->isStale()) {
      unsure_ = {};
      return beneath::Disturbance::none;
    }
  }
  return underneath_->isNeeded() ? underneath_->disturbance() : beneath::Disturbance::none;
}

/// An own window that may be in sight is waited for however long that takes.
bool ScreenGrabber::isToWait(beneath::Disturbance disturbance) {
  const auto now = std::chrono::steady_clock::now();
  const bool tooLong = heldBackSince_ && now - *heldBackSince_ > longestWait;
  if (disturbance == beneath::Disturbance::none ||
      (disturbance == beneath::Disturbance::seam && tooLong)) {
    heldBackSince_.reset();
  } else if (!heldBackSince_) {
    heldBackSince_ = now;
  }
  return heldBackSince_.has_value();
}

/// A pointer that stays as it is changes nothing.
void ScreenGrabber::repaintPointer(const std::optional<PixelRect>& before) {
  const bool redrawn = pointer_->refresh();
  const auto now = pointer_->putOn(pixels_->data());
  if (!redrawn && before == now) return;
  if (before) untold_.push_back(*before);
  if (now) untold_.push_back(*now);
}

bool ScreenGrabber::mayHaveChanged() const {
  return everything_ || drawn_ ||
         (underneath_ != nullptr && (underneath_->isStale() || underneath_->isDamaged()));
}

/// Fetches what has changed.
bool ScreenGrabber::takePicture() {
  if (!mayHaveChanged()) return true;
  const auto asked = request();
  bool complete = true;
  for (const auto rows : asked.rows) {
    const server::ReplyPtr<xcb_shm_get_image_reply_t> reply(
        xcb_shm_get_image_reply(connection_.get(), rows, nullptr));
    complete = complete && reply != nullptr;
  }
  untold_.insert(untold_.end(), asked.changed.begin(), asked.changed.end());
  if (underneath_ != nullptr) {
    complete = underneath_->collect() && complete;
    for (const auto& rows : rowsOf(asked.changed)) {
      underneath_->copyRows(monitor_.y + rows.first, monitor_.y + rows.end, *pixels_);
    }
  }
  return complete && static_cast<bool>(connection_);
}

/// Where windows stand comes first: one that moves afterwards spoils the picture. All pixels are
/// asked for in one go, which the server carries out at a stretch as a rule.
ScreenGrabber::Asked ScreenGrabber::request() {
  Asked asked;
  if (underneath_ == nullptr) {
    asked.changed = takeDamage();
    asked.rows = requestRows(asked.changed);
    return asked;
  }
  pollEvents();
  if (underneath_->isStale()) asked.changed = underneath_->readStack({*pixels_, unsure_});
  for (auto& rect : asked.changed) rect = inMonitor(rect);
  const auto damaged = takeDamage();
  asked.changed.insert(asked.changed.end(), damaged.begin(), damaged.end());
  // The reply has brought along what has been drawn until now, beneath own windows too.
  pollEvents();
  auto drawn = asked.changed;
  for (auto& rect : drawn) rect = moved(rect, monitor_.x, monitor_.y);
  const auto beneath = underneath_->takeDamage(drawn);
  asked.rows = requestRows(asked.changed);
  underneath_->request();
  for (const auto& rect : beneath) asked.changed.push_back(inMonitor(rect));
  return asked;
}

std::vector<PixelRect> ScreenGrabber::takeDamage() {
  auto* c = connection_.get();
  drawn_ = false;
  xcb_damage_subtract(c, damage_, XCB_NONE, region_);
  const bool everything = std::exchange(everything_, false);
  // What own windows have drawn is not to be seen, and what lies beneath them tells of itself.
  if (underneath_ != nullptr && !everything) underneath_->cutOut(region_);
  const server::ReplyPtr<xcb_xfixes_fetch_region_reply_t> region(
      xcb_xfixes_fetch_region_reply(c, xcb_xfixes_fetch_region(c, region_), nullptr));
  if (everything) return {{0, 0, monitor_.width, monitor_.height}};
  std::vector<PixelRect> found;
  if (region == nullptr) return found;
  const auto add = [&](const xcb_rectangle_t& rect) {
    const PixelRect inside = inMonitor({rect.x, rect.y, rect.width, rect.height});
    if (!inside.isEmpty()) found.push_back(inside);
  };
  const std::span rects(
      xcb_xfixes_fetch_region_rectangles(region.get()),
      static_cast<std::size_t>(xcb_xfixes_fetch_region_rectangles_length(region.get())));
  if (rects.size() > mostRectangles) {
    add(region->extents);
  } else {
    std::ranges::for_each(rects, add);
  }
  return found;
}

PixelRect ScreenGrabber::inMonitor(const PixelRect& rect) const {
  return moved(intersection(rect, area()), -monitor_.x, -monitor_.y);
}

std::vector<xcb_shm_get_image_cookie_t> ScreenGrabber::requestRows(
    const std::vector<PixelRect>& damaged) {
  std::vector<xcb_shm_get_image_cookie_t> requests;
  for (const auto& rows : rowsOf(damaged)) {
    unsure_ = around(unsure_,
                     {monitor_.x, monitor_.y + rows.first, monitor_.width, rows.end - rows.first});
    requests.push_back(xcb_shm_get_image(
        connection_.get(), connection_.root(), static_cast<std::int16_t>(monitor_.x),
        static_cast<std::int16_t>(monitor_.y + rows.first),
        static_cast<std::uint16_t>(monitor_.width),
        static_cast<std::uint16_t>(rows.end - rows.first), ~0U, XCB_IMAGE_FORMAT_Z_PIXMAP,
        pixels_->segment(), static_cast<std::uint32_t>(rows.first * stride())));
  }
  return requests;
}

}  // namespace vesk::x11::screen
