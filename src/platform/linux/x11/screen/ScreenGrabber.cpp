#include "platform/linux/x11/screen/ScreenGrabber.h"

#include <xcb/damage.h>
#include <xcb/randr.h>
#include <xcb/shm.h>
#include <xcb/xcbext.h>
#include <xcb/xfixes.h>

#include <algorithm>
#include <utility>

#include "platform/linux/x11/screen/monitorArea.h"
#include "platform/linux/x11/screen/wholeRows.h"
#include "platform/linux/x11/server/pixelLayout.h"

namespace vesk::x11::screen {
namespace {

/// Windows that move as fast as hands and screens do leave the server alone for long enough.
constexpr int mostAttempts = 4;

PixelRect aroundAll(const std::vector<PixelRect>& rects) {
  PixelRect all;
  for (const auto& rect : rects) all = around(all, rect);
  return all;
}

/// Asks for the versions of the extensions too, without which the server carries nothing out.
bool offersWhatIsNeeded(const server::Connection& connection) {
  auto* const c = connection.get();
  for (auto* const id : {&xcb_damage_id, &xcb_xfixes_id, &xcb_randr_id, &xcb_shm_id}) {
    const auto* const extension = xcb_get_extension_data(c, id);
    if (extension == nullptr || extension->present == 0) return false;
  }
  const server::ReplyPtr<xcb_damage_query_version_reply_t> damageVersion(
      xcb_damage_query_version_reply(c, xcb_damage_query_version(c, 1, 1), nullptr));
  const server::ReplyPtr<xcb_xfixes_query_version_reply_t> fixesVersion(
      xcb_xfixes_query_version_reply(c, xcb_xfixes_query_version(c, 5, 0), nullptr));
  return damageVersion != nullptr && fixesVersion != nullptr;
}

}  // namespace

ScreenGrabber::ScreenGrabber(const server::Monitor& monitor, bool showsCursor,
                             const beneath::OwnWindows* leftOut)
    : monitor_(monitor) {
  if (!connection_ || !offersWhatIsNeeded(connection_)) return;
  const auto layout = server::pixelLayout(connection_);
  if (!layout) return;
  pixels_.emplace(connection_, monitor_);
  if (!*this) return;
  if (showsCursor) pointer_.emplace(connection_, monitor_, *layout);
  watch(leftOut);
}

ScreenGrabber::~ScreenGrabber() = default;

void ScreenGrabber::watch(const beneath::OwnWindows* leftOut) {
  damage_.emplace(connection_, monitor_);
  layout_.emplace(connection_);
  if (leftOut != nullptr && connection_.offers("Composite")) {
    underneath_ = std::make_unique<beneath::Underneath>(connection_, *leftOut, areaOf(monitor_));
  }
  xcb_flush(connection_.get());
}

std::optional<ScreenGrabber::News> ScreenGrabber::readEvents() {
  pollEvents();
  if (!connection_) return std::nullopt;
  if (isHeldBack()) news_.drawn = true;
  return std::exchange(news_, {});
}

bool ScreenGrabber::hasNews() {
  pollEvents();
  return news_.drawn || news_.layoutChanged;
}

ScreenGrabber::Time ScreenGrabber::nextLook() const {
  const auto ofPointer = pointer_ ? pointer_->nextLook() : Time::max();
  return underneath_ == nullptr ? ofPointer : std::min(ofPointer, underneath_->overdueAt());
}

void ScreenGrabber::pollEvents() {
  const auto now = Time::clock::now();
  while (auto* raw = xcb_poll_for_event(connection_.get())) {
    const server::ReplyPtr<xcb_generic_event_t> event(raw);
    if (damage_->handle(*event)) news_.drawn = true;
    if (layout_->isTold(*event)) news_.layoutChanged = true;
    if (pointer_) pointer_->handle(*event);
    if (underneath_ != nullptr && underneath_->handle(*event)) news_.drawn = true;
  }
  if (underneath_ == nullptr) return;
  if (!mayHaveChanged()) underneath_->confirm(now);
  if (underneath_->isOverdue()) news_.drawn = true;
}

std::optional<std::vector<PixelRect>> ScreenGrabber::grab() {
  auto* const data = pixels_->memory().data();
  const auto pointer = pointer_ ? pointer_->takeOff(data) : std::nullopt;
  const auto spoilt = update();
  if (!spoilt) return std::nullopt;
  if (!holdBack_.isToWait(*spoilt, HoldBack::Time::clock::now())) {
    if (pointer_) {
      for (const auto& rect : pointer_->repaint(data, pointer)) untold_.push_back(rect);
    }
    return std::exchange(untold_, {});
  }
  if (pointer) untold_.push_back(*pointer);
  if (untold_.size() > ScreenDamage::mostRectangles) untold_ = {aroundAll(untold_)};
  return std::vector<PixelRect>{};
}

/// Brings the pixels up to date, but for the pointer, and tells what has spoilt them even so;
/// nothing when they cannot be had.
std::optional<beneath::Disturbance> ScreenGrabber::update() {
  for (int attempts = 0; attempts < mostAttempts; ++attempts) {
    const auto now = Time::clock::now();
    if (!takePicture()) return std::nullopt;
    // The answers have brought along what has happened until then.
    pollEvents();
    if (underneath_ == nullptr || !underneath_->isStale()) {
      pixels_->confirm();
      if (underneath_ != nullptr) underneath_->confirm(now);
      return beneath::Disturbance::none;
    }
  }
  return underneath_->isNeeded() ? underneath_->disturbance() : beneath::Disturbance::none;
}

/// Fetches what has changed.
bool ScreenGrabber::takePicture() {
  if (!mayHaveChanged()) return true;
  const auto changed = underneath_ == nullptr ? request() : requestBeneath();
  bool complete = pixels_->collect();
  untold_.insert(untold_.end(), changed.begin(), changed.end());
  if (underneath_ != nullptr) {
    complete = underneath_->collect() && complete;
    underneath_->look(pixels_->memory());
    for (const auto& rows : wholeRows(changed)) {
      underneath_->copyRows(monitor_.y + rows.first, monitor_.y + rows.end, pixels_->memory());
    }
  }
  return complete && static_cast<bool>(connection_);
}

bool ScreenGrabber::mayHaveChanged() const {
  return damage_->isWaiting() ||
         (underneath_ != nullptr && (underneath_->isStale() || underneath_->isDamaged()));
}

/// Asks for the pixels that have changed, and tells where in the monitor that is.
std::vector<PixelRect> ScreenGrabber::request() {
  auto changed = damage_->take(nullptr);
  pixels_->request(changed);
  return changed;
}

/// The same without own windows. Where windows stand comes first: one that moves afterwards spoils
/// the picture. All pixels are asked for in one go, which the server carries out at a stretch as a
/// rule.
std::vector<PixelRect> ScreenGrabber::requestBeneath() {
  std::vector<PixelRect> changed;
  const beneath::Seen seen{pixels_->memory(), pixels_->unsure()};
  pollEvents();
  if (underneath_->isStale()) {
    changed = underneath_->readStack(seen);
  }
  for (auto& rect : changed) rect = inMonitor(rect, monitor_);
  const auto damaged = damage_->take(underneath_.get());
  changed.insert(changed.end(), damaged.begin(), damaged.end());
  // The reply has brought along what has been drawn until now, beneath own windows too.
  pollEvents();
  auto drawn = changed;
  for (auto& rect : drawn) rect = moved(rect, monitor_.x, monitor_.y);
  const auto beneath = underneath_->takeDamage(drawn, seen);
  pixels_->request(changed);
  underneath_->request();
  for (const auto& rect : beneath) changed.push_back(inMonitor(rect, monitor_));
  return changed;
}

}  // namespace vesk::x11::screen
