#include "platform/linux/x11/ScreenGrabber.h"

#include <xcb/randr.h>
#include <xcb/shm.h>
#include <xcb/xcbext.h>

#include <algorithm>
#include <cstring>
#include <span>
#include <utility>

namespace vesk::x11 {
namespace {

/// Above so many rectangles their bounding box is cheaper to fetch than they are to sort out.
constexpr std::size_t mostRectangles = 24;

std::uint32_t blended(std::uint32_t over, std::uint32_t under) {
  const std::uint32_t keep = 255 - (over >> 24);
  std::uint32_t result = 0;
  for (int shift = 0; shift < 24; shift += 8) {
    const std::uint32_t sum = (over >> shift & 0xff) + ((under >> shift & 0xff) * keep + 127) / 255;
    result |= std::min<std::uint32_t>(sum, 255) << shift;
  }
  return result;
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

/// While it lives, nothing else happens on the screen: windows stay where they are. Nobody notices
/// the moment that it takes.
class ServerGrab {
 public:
  explicit ServerGrab(const Connection& connection) : connection_(connection) {
    xcb_grab_server(connection_.get());
  }
  ~ServerGrab() {
    xcb_ungrab_server(connection_.get());
    xcb_flush(connection_.get());
  }
  ServerGrab(const ServerGrab&) = delete;
  ServerGrab& operator=(const ServerGrab&) = delete;

 private:
  const Connection& connection_;
};

}  // namespace

ScreenGrabber::ScreenGrabber(const Monitor& monitor, bool showsCursor, const OwnWindows* leftOut)
    : monitor_(monitor), showsCursor_(showsCursor), leftOut_(leftOut) {
  if (!connection_ || !supportsExtensions()) return;
  pixels_ = std::make_unique<SharedPixels>(
      connection_, static_cast<std::size_t>(stride()) * static_cast<std::size_t>(monitor_.height));
  if (*this) watch();
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
  const ReplyPtr<xcb_damage_query_version_reply_t> damageVersion(
      xcb_damage_query_version_reply(c, xcb_damage_query_version(c, 1, 1), nullptr));
  const ReplyPtr<xcb_xfixes_query_version_reply_t> fixesVersion(
      xcb_xfixes_query_version_reply(c, xcb_xfixes_query_version(c, 5, 0), nullptr));
  damageEvent_ = damage->first_event;
  cursorEvent_ = fixes->first_event;
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
  xcb_xfixes_select_cursor_input(c, root, XCB_XFIXES_CURSOR_NOTIFY_MASK_DISPLAY_CURSOR);
  xcb_randr_select_input(c, root,
                         XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
                             XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE);
  if (leftOut_ != nullptr && connection_.offers("Composite")) {
    underneath_ = std::make_unique<Underneath>(connection_, *leftOut_, area());
  }
  xcb_flush(c);
}

std::optional<ScreenGrabber::News> ScreenGrabber::readEvents() {
  pollEvents();
  if (!connection_) return std::nullopt;
  return std::exchange(news_, {});
}

void ScreenGrabber::pollEvents() {
  while (auto* raw = xcb_poll_for_event(connection_.get())) {
    const ReplyPtr<xcb_generic_event_t> event(raw);
    const auto type = static_cast<std::uint8_t>(event->response_type & 0x7f);
    if (type == damageEvent_ + XCB_DAMAGE_NOTIFY &&
        reinterpret_cast<const xcb_damage_notify_event_t&>(*event).damage == damage_) {
      news_.drawn = drawn_ = true;
    }
    if (type == cursorEvent_ + XCB_XFIXES_CURSOR_NOTIFY) cursorStale_ = true;
    if (type == randrEvent_ || type == randrEvent_ + XCB_RANDR_NOTIFY) news_.layoutChanged = true;
    if (underneath_ != nullptr && underneath_->handle(*event)) news_.drawn = true;
  }
  if (underneath_ != nullptr && underneath_->isOverdue()) news_.drawn = true;
}

bool ScreenGrabber::cursorChanged() {
  if (!showsCursor_) return false;
  if (cursorStale_) return true;
  auto* c = connection_.get();
  const ReplyPtr<xcb_query_pointer_reply_t> pointer(
      xcb_query_pointer_reply(c, xcb_query_pointer(c, connection_.root()), nullptr));
  if (pointer == nullptr) return false;
  const Cursor before = {0, cursor_.x, cursor_.y, 0, 0, cursor_.width, cursor_.height, {}};
  cursor_.x = pointer->root_x - cursor_.hotX - monitor_.x;
  cursor_.y = pointer->root_y - cursor_.hotY - monitor_.y;
  return before.x != cursor_.x || before.y != cursor_.y;
}

std::optional<std::vector<PixelRect>> ScreenGrabber::grab() {
  std::vector<PixelRect> changed;
  const auto before = painted_;
  unpaintCursor();
  if (!update(changed, !everything_)) return std::nullopt;
  // An own window that has come up just now may be in the picture; it does not stay there.
  pollEvents();
  const bool again = underneath_ != nullptr && underneath_->isStale() && underneath_->isNeeded();
  if (again && !update(changed, false)) return std::nullopt;
  const bool redrawn = showsCursor_ && cursorStale_;
  if (showsCursor_) {
    if (cursorStale_) {
      loadCursor();
    } else {
      cursorChanged();
    }
    paintCursor();
  }
  // A pointer that stays as it is changes nothing.
  if (redrawn || before != painted_) {
    if (before) changed.push_back(*before);
    if (painted_) changed.push_back(*painted_);
  }
  return changed;
}

bool ScreenGrabber::mayHaveChanged() const {
  return everything_ || drawn_ ||
         (underneath_ != nullptr && (underneath_->isStale() || underneath_->isDamaged()));
}

/// Fetches what has changed and adds to the list where that is.
bool ScreenGrabber::update(std::vector<PixelRect>& changed, bool pictureIsClean) {
  if (!mayHaveChanged()) return true;
  const auto asked = request(pictureIsClean);
  bool complete = true;
  for (const auto rows : asked.rows) {
    const ReplyPtr<xcb_shm_get_image_reply_t> reply(
        xcb_shm_get_image_reply(connection_.get(), rows, nullptr));
    complete = complete && reply != nullptr;
  }
  changed.insert(changed.end(), asked.changed.begin(), asked.changed.end());
  if (underneath_ != nullptr) {
    complete = underneath_->collect() && complete;
    for (const auto& rows : rowsOf(asked.changed)) {
      underneath_->copyRows(monitor_.y + rows.first, monitor_.y + rows.end, *pixels_);
    }
  }
  return complete && static_cast<bool>(connection_);
}

/// Asks the server for everything at one moment, in which own windows stay where they are.
ScreenGrabber::Asked ScreenGrabber::request(bool pictureIsClean) {
  std::optional<ServerGrab> grab;
  if (underneath_ != nullptr && underneath_->isNeeded()) grab.emplace(connection_);
  Asked asked{takeDamage(), {}};
  if (underneath_ == nullptr) {
    asked.rows = requestRows(asked.changed);
    return asked;
  }
  // The replies have brought along what has happened until now.
  pollEvents();
  if (underneath_->isStale()) {
    const auto restacked = underneath_->readStack(pictureIsClean ? pixels_.get() : nullptr);
    for (const auto& rect : restacked) asked.changed.push_back(inMonitor(rect));
  }
  asked.rows = requestRows(asked.changed);
  auto drawn = asked.changed;
  for (auto& rect : drawn) rect = moved(rect, monitor_.x, monitor_.y);
  for (const auto& rect : underneath_->takeDamage(drawn)) asked.changed.push_back(inMonitor(rect));
  underneath_->request();
  return asked;
}

std::vector<PixelRect> ScreenGrabber::takeDamage() {
  auto* c = connection_.get();
  drawn_ = false;
  xcb_damage_subtract(c, damage_, XCB_NONE, region_);
  const bool everything = std::exchange(everything_, false);
  // What own windows have drawn is not to be seen, and what lies beneath them tells of itself.
  if (underneath_ != nullptr && !everything) underneath_->cutOut(region_);
  const ReplyPtr<xcb_xfixes_fetch_region_reply_t> region(
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
    requests.push_back(xcb_shm_get_image(
        connection_.get(), connection_.root(), static_cast<std::int16_t>(monitor_.x),
        static_cast<std::int16_t>(monitor_.y + rows.first),
        static_cast<std::uint16_t>(monitor_.width),
        static_cast<std::uint16_t>(rows.end - rows.first), ~0U, XCB_IMAGE_FORMAT_Z_PIXMAP,
        pixels_->segment(), static_cast<std::uint32_t>(rows.first * stride())));
  }
  return requests;
}

void ScreenGrabber::loadCursor() {
  auto* c = connection_.get();
  const ReplyPtr<xcb_xfixes_get_cursor_image_reply_t> image(
      xcb_xfixes_get_cursor_image_reply(c, xcb_xfixes_get_cursor_image(c), nullptr));
  if (image == nullptr) return;
  cursorStale_ = false;
  cursor_.serial = image->cursor_serial;
  cursor_.hotX = image->xhot;
  cursor_.hotY = image->yhot;
  cursor_.x = image->x - image->xhot - monitor_.x;
  cursor_.y = image->y - image->yhot - monitor_.y;
  cursor_.width = image->width;
  cursor_.height = image->height;
  const auto* first = xcb_xfixes_get_cursor_image_cursor_image(image.get());
  cursor_.image.assign(first, first + xcb_xfixes_get_cursor_image_cursor_image_length(image.get()));
}

PixelRect ScreenGrabber::visible(const Cursor& cursor) const {
  return intersection({cursor.x, cursor.y, cursor.width, cursor.height},
                      {0, 0, monitor_.width, monitor_.height});
}

void ScreenGrabber::paintCursor() {
  painted_.reset();
  const PixelRect area = visible(cursor_);
  const auto cells =
      static_cast<std::size_t>(cursor_.width) * static_cast<std::size_t>(cursor_.height);
  if (area.isEmpty() || cursor_.image.size() < cells) return;
  painted_ = area;
  beneath_.clear();
  for (int y = area.y; y < area.y + area.height; ++y) {
    for (int x = area.x; x < area.x + area.width; ++x) {
      std::uint8_t* place = at(x, y);
      std::uint32_t pixel = 0;
      std::memcpy(&pixel, place, sizeof pixel);
      beneath_.push_back(pixel);
      const auto over =
          cursor_.image[static_cast<std::size_t>((y - cursor_.y) * cursor_.width + x - cursor_.x)];
      pixel = blended(over, pixel);
      std::memcpy(place, &pixel, sizeof pixel);
    }
  }
}

void ScreenGrabber::unpaintCursor() {
  if (!painted_) return;
  const auto row = static_cast<std::size_t>(painted_->width);
  for (int y = 0; y < painted_->height; ++y) {
    std::memcpy(at(painted_->x, painted_->y + y),
                beneath_.data() + static_cast<std::size_t>(y) * row, row * 4);
  }
  painted_.reset();
}

}  // namespace vesk::x11
