#pragma once

#include "platform/linux/x11/server/Connection.h"

namespace vesk::x11::server {

/// The selection that a compositor owns as long as it runs. From now on the connection is told of
/// its owners by XFixes, for which it has asked the version of that extension before.
/// Thread: the connection's. Waits for the server. Fails: as XCB_NONE, when the server is gone.
xcb_atom_t watchCompositorSelection(const Connection& connection);

/// Undoes that.
void ignoreCompositorSelection(const Connection& connection);

}  // namespace vesk::x11::server
