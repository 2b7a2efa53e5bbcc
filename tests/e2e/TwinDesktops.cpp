#include "e2e/TwinDesktops.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <xcb/composite.h>
#include <xcb/shape.h>

#include <array>
#include <chrono>
#include <stdexcept>

#include "platform/linux/banner/OverlayShapes.h"
#include "platform/linux/x11/beneath/shownWindow.h"
#include "platform/linux/x11/server/Properties.h"
#include "platform/linux/x11/server/Randr.h"
#include "platform/linux/x11/server/rectangles.h"
#include "support/Patience.h"

namespace vesk::testing {
namespace {

using picture::PixelRect;
using x11::server::ReplyPtr;

const std::string screenSize =
    std::to_string(TwinDesktops::width) + "x" + std::to_string(TwinDesktops::height) + "x24";

void fill(xcb_connection_t* c, xcb_drawable_t target, const picture::PixelRect& area,
          std::uint32_t colour) {
  const xcb_gcontext_t context = xcb_generate_id(c);
  xcb_create_gc(c, context, target, XCB_GC_FOREGROUND, &colour);
  const auto rect = x11::server::rectangle(area);
  xcb_poly_fill_rectangle(c, target, context, 1, &rect);
  xcb_free_gc(c, context);
}

xcb_visualid_t alphaVisual(xcb_connection_t* c) {
  const auto* const screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
  for (auto depth = xcb_screen_allowed_depths_iterator(screen); depth.rem > 0;
       xcb_depth_next(&depth)) {
    if (depth.data->depth == 32) return xcb_depth_visuals_iterator(depth.data).data->visual_id;
  }
  return XCB_NONE;
}

/// In the order of the mask's bits: background, border, override-redirect, colour map.
xcb_window_t makeWindow(xcb_connection_t* c, xcb_window_t window, const picture::PixelRect& frame,
                        const TwinDesktops::Look& look) {
  const auto* const screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
  xcb_colormap_t colormap = screen->default_colormap;
  if (look.alpha) {
    colormap = xcb_generate_id(c);
    xcb_create_colormap(c, XCB_COLORMAP_ALLOC_NONE, colormap, screen->root, alphaVisual(c));
  }
  const std::array<std::uint32_t, 4> values{look.colour, 0x123456, look.managed ? 0U : 1U,
                                            colormap};
  xcb_create_window(
      c, look.alpha ? 32 : XCB_COPY_FROM_PARENT, window, screen->root,
      static_cast<std::int16_t>(frame.x), static_cast<std::int16_t>(frame.y),
      static_cast<std::uint16_t>(frame.width), static_cast<std::uint16_t>(frame.height),
      static_cast<std::uint16_t>(look.border), XCB_WINDOW_CLASS_INPUT_OUTPUT,
      look.alpha ? alphaVisual(c) : XCB_COPY_FROM_PARENT,
      XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_COLORMAP,
      values.data());
  // Where it is asked to be, and the focus stays where it is.
  constexpr std::uint32_t userPosition = 1;
  std::array<std::uint32_t, 18> sizeHints{userPosition};
  xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NORMAL_HINTS,
                      XCB_ATOM_WM_SIZE_HINTS, 32, 18, sizeHints.data());
  constexpr std::uint32_t inputHint = 1;
  std::array<std::uint32_t, 9> hints{inputHint, 0};
  xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_HINTS, XCB_ATOM_WM_HINTS, 32, 9,
                      hints.data());
  return window;
}

constexpr std::size_t pixelCount{TwinDesktops::width * TwinDesktops::height};

/// Whether somebody keeps the contents of windows off the screen, to draw them himself.
bool isComposed(xcb_connection_t* c) {
  const ReplyPtr<xcb_composite_query_version_reply_t> version(
      xcb_composite_query_version_reply(c, xcb_composite_query_version(c, 0, 4), nullptr));
  const xcb_window_t window = makeWindow(c, xcb_generate_id(c), {-5, -5, 1, 1}, {});
  xcb_map_window(c, window);
  const xcb_pixmap_t pixmap = xcb_generate_id(c);
  const ReplyPtr<xcb_generic_error_t> refused(
      xcb_request_check(c, xcb_composite_name_window_pixmap_checked(c, window, pixmap)));
  xcb_destroy_window(c, window);
  xcb_flush(c);
  return refused == nullptr;
}

}  // namespace

template <typename Do>
void TwinDesktops::onBoth(Do what) {
  for (auto& side : sides_) {
    what(side);
    xcb_flush(side.connection());
  }
}

TwinDesktops::TwinDesktops(PresenceDesktop::Kind kind)
    : captured_(kind, screenSize),
      other_(kind, screenSize),
      sides_{Side{&captured_, {}}, Side{&other_, {}}},
      display_(captured_.server().display()),
      showsWallpaper_(kind != DesktopKind::mutter && kind != DesktopKind::kwin) {
  setRootColour(0x305070);
  // A compositor is there before it does anything.
  onBoth([](Side& side) {
    if (side.desktop->composited() && !waitUntil([&] { return isComposed(side.connection()); })) {
      throw std::runtime_error("the compositor does nothing");
    }
  });
}

TwinDesktops::~TwinDesktops() = default;

void TwinDesktops::startCompositor() {
  onBoth([](Side& side) { side.desktop->startPicom(); });
}

void TwinDesktops::stopCompositor() {
  onBoth([](Side& side) { side.desktop->stopPicom(); });
}

int TwinDesktops::open(const picture::PixelRect& frame, const Look& look) {
  const int number = nextWindow_++;
  onBoth([&](Side& side) {
    const xcb_window_t window =
        makeWindow(side.connection(), xcb_generate_id(side.connection()), frame, look);
    side.windows[number] = window;
    xcb_map_window(side.connection(), window);
    xcb_flush(side.connection());
    // One after the other, so that window managers stack them alike.
    if (!waitUntil([&] { return side.desktop->isShown(window); })) {
      throw std::runtime_error("a window does not come up");
    }
  });
  return number;
}

void TwinDesktops::move(int window, const picture::PixelRect& frame) {
  const std::array<std::uint32_t, 4> values{
      static_cast<std::uint32_t>(frame.x), static_cast<std::uint32_t>(frame.y),
      static_cast<std::uint32_t>(frame.width), static_cast<std::uint32_t>(frame.height)};
  onBoth([&](Side& side) {
    xcb_configure_window(side.connection(), side.windows[window],
                         XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH |
                             XCB_CONFIG_WINDOW_HEIGHT,
                         values.data());
  });
}

void TwinDesktops::raise(int window) {
  const std::uint32_t above = XCB_STACK_MODE_ABOVE;
  onBoth([&](Side& side) {
    xcb_configure_window(side.connection(), side.windows[window], XCB_CONFIG_WINDOW_STACK_MODE,
                         &above);
  });
  // The own windows come back to the top, as the program sees to.
  for (const xcb_window_t own : ownOpen_) {
    xcb_configure_window(captured_.connection(), own, XCB_CONFIG_WINDOW_STACK_MODE, &above);
  }
  xcb_flush(captured_.connection());
}

void TwinDesktops::unmap(int window) {
  onBoth([&](Side& side) { xcb_unmap_window(side.connection(), side.windows[window]); });
}

void TwinDesktops::close(int window) {
  onBoth([&](Side& side) { xcb_destroy_window(side.connection(), side.windows[window]); });
}

void TwinDesktops::replace(int window, const picture::PixelRect& frame, std::uint32_t colour) {
  onBoth([&](Side& side) {
    auto* const c = side.connection();
    const xcb_window_t number = side.windows[window];
    xcb_destroy_window(c, number);
    xcb_map_window(c, makeWindow(c, number, frame, {colour}));
  });
}

void TwinDesktops::cutOff(int window, const picture::PixelRect& visible) {
  const auto rect = x11::server::rectangle(visible);
  onBoth([&](Side& side) {
    xcb_shape_rectangles(side.connection(), XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING,
                         XCB_CLIP_ORDERING_UNSORTED, side.windows[window], 0, 0, 1, &rect);
  });
}

void TwinDesktops::draw(int window, const picture::PixelRect& area, std::uint32_t colour) {
  onBoth([&](Side& side) { fill(side.connection(), side.windows[window], area, colour); });
}

void TwinDesktops::paintRoot(const picture::PixelRect& area, std::uint32_t colour) {
  onBoth([&](Side& side) { fill(side.connection(), side.desktop->root(), area, colour); });
}

void TwinDesktops::setRootColour(std::uint32_t colour) {
  onBoth([&](Side& side) {
    auto* const c = side.connection();
    xcb_change_window_attributes(c, side.desktop->root(), XCB_CW_BACK_PIXEL, &colour);
    xcb_clear_area(c, 0, side.desktop->root(), 0, 0, 0, 0);
  });
}

void TwinDesktops::setWallpaper(std::uint32_t colour) {
  onBoth([&](Side& side) {
    auto* const c = side.connection();
    const xcb_pixmap_t pixmap = xcb_generate_id(c);
    xcb_create_pixmap(c, 24, pixmap, side.desktop->root(), width, height);
    for (int x = 0; x < width; x += 20) {
      fill(c, pixmap, {x, 0, 20, height}, x % 40 == 0 ? colour : colour / 2);
    }
    xcb_change_window_attributes(c, side.desktop->root(), XCB_CW_BACK_PIXMAP, &pixmap);
    xcb_clear_area(c, 0, side.desktop->root(), 0, 0, 0, 0);
    for (const auto* const name : {"_XROOTPMAP_ID", "ESETROOT_PMAP_ID"}) {
      xcb_change_property(c, XCB_PROP_MODE_REPLACE, side.desktop->root(),
                          x11::server::atom(c, name), XCB_ATOM_PIXMAP, 32, 1, &pixmap);
    }
  });
  // A compositor takes its time, and until then the picture shows what was there before.
  if (!showsWallpaper_) return;
  onBoth([&](Side& side) { side.desktop->waitForPixel(725, 550, colour); });
}

xcb_window_t TwinDesktops::openOwn(const picture::PixelRect& frame, bool managed) {
  auto* const c = captured_.connection();
  // As the program does, so that a compositor casts no shadow of what is translucent.
  const bool translucent = !managed && captured_.composited();
  constexpr std::uint32_t opaque = 0xff000000;
  const xcb_window_t window =
      makeWindow(c, xcb_generate_id(c), frame,
                 {.colour = opaque | ownColour, .managed = managed, .alpha = translucent});
  if (managed) {
    x11::server::setAtoms(c, window, "_NET_WM_STATE",
                          {"_NET_WM_STATE_ABOVE", "_NET_WM_STATE_STICKY"});
  } else {
    x11::server::setAtoms(c, window, "_NET_WM_WINDOW_TYPE", {"_NET_WM_WINDOW_TYPE_DOCK"});
  }
  // Two windows of one name would get numbers behind it.
  xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8, 3,
                      "own");
  ownWindows_.add(window);
  ownOpen_.push_back(window);
  xcb_map_window(c, window);
  xcb_flush(c);
  waitUntil([&] { return captured_.isShown(window); });
  return window;
}

void TwinDesktops::moveOwn(xcb_window_t window, int x, int y) {
  const std::array<std::uint32_t, 2> values{static_cast<std::uint32_t>(x),
                                            static_cast<std::uint32_t>(y)};
  xcb_configure_window(captured_.connection(), window, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y,
                       values.data());
  xcb_flush(captured_.connection());
}

void TwinDesktops::closeOwn(xcb_window_t window) {
  using x11::beneath::OwnWindows;
  if (const auto shown = x11::beneath::shownWindow(captured_.connection(), window)) {
    ownWindows_.leave(*shown, OwnWindows::Time::clock::now());
  }
  xcb_destroy_window(captured_.connection(), window);
  xcb_flush(captured_.connection());
  ownWindows_.remove(window);
  std::erase(ownOpen_, window);
}

void TwinDesktops::openAllOwn() {
  for (const auto& edge : banner::borderEdges({0, 0, width, height}, 8)) openOwn(edge);
  openOwn({200, 0, 400, 26});
  openOwn({250, 200, 300, 150}, true);
}

void TwinDesktops::closeAllOwn() {
  while (!ownOpen_.empty()) closeOwn(ownOpen_.back());
}

void TwinDesktops::capture() {
  // The windows here do not draw themselves anew when they are uncovered. Capturing makes the
  // server keep what they show, so it has to on both sides.
  auto* const c = other_.connection();
  const ReplyPtr<xcb_composite_query_version_reply_t> version(
      xcb_composite_query_version_reply(c, xcb_composite_query_version(c, 0, 4), nullptr));
  xcb_composite_redirect_subwindows(c, other_.root(), XCB_COMPOSITE_REDIRECT_AUTOMATIC);
  grabber_ = std::make_unique<x11::screen::ScreenGrabber>(
      x11::server::monitors(x11::server::Connection()).at(0), false, &ownWindows_);
  if (!*grabber_ || !take()) throw std::runtime_error("the screen cannot be captured");
}

bool TwinDesktops::take() {
  const auto changed = grabber_->grab();
  if (!changed) return false;
  if (changed->empty()) return true;
  ++imagesTaken_;
  const auto pixels = grabbed();
  ownPixelsSeen_ += count(pixels, ownColour);
  return true;
}

Difference TwinDesktops::settledDifference(const Tolerance& limit) {
  using namespace std::chrono;
  const auto deadline = steady_clock::now() + seconds(8);
  Difference left;
  do {
    const auto news = grabber_->readEvents();
    if (!news) throw std::runtime_error("the server is gone");
    if (news->drawn && !take()) throw std::runtime_error("the screen cannot be read");
    left = difference(grabbed(), reference(), width, limit.levels);
    if (left.isWithin(limit)) return left;
    pollfd waiting{grabber_->descriptor(), POLLIN, 0};
    ::poll(&waiting, 1, 20);  // the other desktop may be the one that is not ready yet
  } while (steady_clock::now() < deadline);
  return left;
}

bool TwinDesktops::isQuiet(int milliseconds) {
  while (const auto news = grabber_->readEvents()) {
    if (!news->drawn) break;
    take();
  }
  pollfd waiting{grabber_->descriptor(), POLLIN, 0};
  return ::poll(&waiting, 1, milliseconds) == 0;
}

Pixels TwinDesktops::screenOf(const PresenceDesktop& desktop) {
  auto* const c = desktop.connection();
  const ReplyPtr<xcb_get_image_reply_t> image(xcb_get_image_reply(
      c, xcb_get_image(c, XCB_IMAGE_FORMAT_Z_PIXMAP, desktop.root(), 0, 0, width, height, ~0U),
      nullptr));
  if (image == nullptr) return Pixels(pixelCount);
  return pixelsOf(xcb_get_image_data(image.get()), pixelCount);
}

Pixels TwinDesktops::grabbed() const { return pixelsOf(grabber_->pixels(), pixelCount); }

}  // namespace vesk::testing
