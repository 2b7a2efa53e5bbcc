#pragma once

#include <gtest/gtest.h>
#include <xcb/composite.h>
#include <xcb/damage.h>
#include <xcb/xfixes.h>

#include "platform/linux/x11/beneath/WindowsBeneath.h"
#include "support/PlainWindow.h"
#include "support/XPainter.h"
#include "support/XServer.h"

namespace vesk::testing {

/// The windows of a private server, whose contents the server keeps, and a strip of its own on top.
class StackFixture : public ::testing::Test {
 protected:
  StackFixture() {
    auto* const c = connection.get();
    const x11::server::ReplyPtr<xcb_xfixes_query_version_reply_t> fixes(
        xcb_xfixes_query_version_reply(c, xcb_xfixes_query_version(c, 5, 0), nullptr));
    const x11::server::ReplyPtr<xcb_damage_query_version_reply_t> damage(
        xcb_damage_query_version_reply(c, xcb_damage_query_version(c, 1, 1), nullptr));
    const x11::server::ReplyPtr<xcb_composite_query_version_reply_t> composite(
        xcb_composite_query_version_reply(c, xcb_composite_query_version(c, 0, 4), nullptr));
    stack.watch();
    xcb_composite_redirect_subwindows(c, connection.root(), XCB_COMPOSITE_REDIRECT_AUTOMATIC);
    left.show();
    right.show();
    strip.show();
    own.add(strip.id());
    stack.read();
  }

  const x11::beneath::WindowContents* contentsOf(const PlainWindow& window) const {
    return windows.find(window.id());
  }

  XServer server{"640x480x24"};
  DisplayVariable display{server.display()};
  x11::server::Connection connection;
  PlainWindow left{{0, 0, 200, 200}, 0xff0000};
  PlainWindow right{{300, 0, 200, 200}, 0x00ff00};
  PlainWindow strip{{0, 0, 640, 20}, 0x0000ff};
  x11::beneath::OwnWindows own;
  x11::beneath::WindowStack stack{connection, own};
  x11::beneath::PictureFormats formats = x11::beneath::pictureFormats(connection);
  x11::beneath::WindowsBeneath windows{connection, formats};
};

}  // namespace vesk::testing
