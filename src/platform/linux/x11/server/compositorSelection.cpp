#include "platform/linux/x11/server/compositorSelection.h"

#include <xcb/xfixes.h>

#include "platform/linux/x11/server/Properties.h"

namespace vesk::x11::server {
namespace {

xcb_atom_t selectEvents(const Connection& connection, std::uint32_t events) {
  const xcb_atom_t selection = atom(connection.get(), "_NET_WM_CM_S0");
  xcb_xfixes_select_selection_input(connection.get(), connection.root(), selection, events);
  return selection;
}

}  // namespace

xcb_atom_t watchCompositorSelection(const Connection& connection) {
  return selectEvents(connection, XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                      XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                      XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE);
}

void ignoreCompositorSelection(const Connection& connection) { selectEvents(connection, 0); }

}  // namespace vesk::x11::server
