#pragma once

#include <gtest/gtest.h>

#include "platform/linux/x11/input/XTest.h"
#include "platform/linux/x11/server/Connection.h"

namespace vesk::testing {

/// A mouse, and a program that may hold the pointer. What it was told is done when a call returns.
/// Thread: the test's.
class XMouse {
 public:
  void move(int x, int y) {
    x11::input::fakeMotion(connection_, {static_cast<double>(x), static_cast<double>(y)});
    await();
  }

  /// Takes the pointer for itself: no other program is told of what it does.
  void grab() {
    auto* const c = connection_.get();
    const x11::server::ReplyPtr<xcb_grab_pointer_reply_t> grab(xcb_grab_pointer_reply(
        c,
        xcb_grab_pointer(c, /*owner_events=*/0, connection_.root(), XCB_EVENT_MASK_POINTER_MOTION,
                         XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC, XCB_NONE, XCB_NONE,
                         XCB_CURRENT_TIME),
        nullptr));
    ASSERT_NE(grab, nullptr);
    ASSERT_EQ(grab->status, XCB_GRAB_STATUS_SUCCESS);
  }

 private:
  void await() {
    auto* const c = connection_.get();
    const x11::server::ReplyPtr<xcb_get_input_focus_reply_t> answer(
        xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
    ASSERT_NE(answer, nullptr);
  }

  x11::server::Connection connection_;
};

}  // namespace vesk::testing
