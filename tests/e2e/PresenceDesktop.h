#pragma once

#include <xcb/xcb.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "e2e/DesktopManager.h"
#include "platform/linux/x11/server/Connection.h"
#include "support/XServer.h"

namespace vesk::testing {

/// What runs on a server beside the program, and who looks at it and types: the test.
class PresenceDesktop {
 public:
  using Kind = DesktopKind;

  explicit PresenceDesktop(Kind kind, const std::string& screen = "1280x800x24");
  ~PresenceDesktop();
  PresenceDesktop(const PresenceDesktop&) = delete;
  PresenceDesktop& operator=(const PresenceDesktop&) = delete;

  bool composited() const;
  std::vector<std::string> environment() const;
  const XServer& server() const { return server_; }

  void startPicom();
  void stopPicom();

  /// A colour as 0xrrggbb, as the screen shows it.
  std::uint32_t pixel(int x, int y);
  /// All of a rectangle, row by row.
  std::vector<std::uint32_t> pixels(int x, int y, int width, int height);

  /// Waits until the pixel has that colour, give or take `tolerance` in each channel.
  bool waitForPixel(int x, int y, std::uint32_t colour, int tolerance = 2);

  /// The window that holds the alert's content, waited for until it is shown.
  xcb_window_t alert();
  bool isShown(xcb_window_t window);
  xcb_window_t focus();
  std::vector<std::uint32_t> property(xcb_window_t window, const std::string& name);
  bool hasProperty(xcb_window_t window, const std::string& name);
  int topLevelWindows();

  std::uint8_t keyCode(std::uint32_t keysym);
  void press(std::uint32_t keysym);
  void release(std::uint32_t keysym);
  void key(std::uint32_t keysym);
  void click(int x, int y, std::uint8_t button = 1);

  void movePointer(int x, int y);
  /// Press or release of the first button, so much later than the one before.
  void button(std::uint8_t event, std::uint32_t delayInMilliseconds = 0);

  void setFocus(xcb_window_t window);

  /// A window of the test's own; `overrideRedirect` keeps the window manager out.
  xcb_window_t makeWindow(int x, int y, int width, int height, std::uint32_t colour,
                          bool overrideRedirect);
  void destroyWindow(xcb_window_t window);

  /// Asks the window manager to show it over the whole screen and above the others.
  void makeFullScreen(xcb_window_t window);

  /// A message as a pager or a window manager sends it, to the root window about another one.
  void tellRoot(xcb_window_t about, const std::string& type, std::array<std::uint32_t, 5> data);
  /// A message of the window manager's protocol to the window itself.
  void tellWindow(xcb_window_t window, const std::string& protocol);

  void goToWorkspace(std::uint32_t number);
  void setNumber(xcb_window_t window, const std::string& property, std::uint32_t value);

  /// Makes a part of the screen its only monitor: WIDTH/MILLIMETRESxHEIGHT/MILLIMETRES+X+Y.
  void setMonitor(const std::string& geometry);

  /// The top-level window that a click at that place would go to.
  xcb_window_t topLevelAt(int x, int y);
  xcb_window_t topLevelOf(xcb_window_t window);

  /// Whether a press of that button at that place reaches a window of the test's own.
  bool pressArrives(xcb_window_t window, std::uint8_t button);

  xcb_connection_t* connection() const { return connection_; }
  xcb_window_t root() const { return root_; }
  xcb_atom_t atomOf(const std::string& name) const;

 private:
  bool manages(Kind kind);

  XServer server_;
  xcb_connection_t* connection_ = nullptr;
  xcb_window_t root_ = XCB_NONE;
  std::unique_ptr<DesktopManager> manager_;
  std::unique_ptr<ChildProcess> compositor_;
};

}  // namespace vesk::testing
