#pragma once

#include <xcb/xcb.h>

/// What a window manager has to be told of an alert beyond what Qt tells. Thread: main, with an
/// application object; the requests go over Qt's own connection and so come in order with its own.
namespace vesk::x11::alert {

/// Null where Qt does not run on X11.
xcb_connection_t* qtConnection();

/// For a window that is not shown yet: on all workspaces, and in no task bar and no pager.
void keepOnEveryWorkspace(xcb_window_t window);

/// For a window in dark colours: its frame is to be dark too, where frames come in both.
void wishDarkFrame(xcb_window_t window);

/// For a window that is to be seen and is not, whether a window manager that was just starting
/// never heard of it or the person has minimised it: asks anew. Harmless for one in sight.
void mapAgain(xcb_window_t window);

/// For a window in sight: raises it and gives it the focus, whatever has it now.
void bringToTheFront(xcb_window_t window);

}  // namespace vesk::x11::alert
