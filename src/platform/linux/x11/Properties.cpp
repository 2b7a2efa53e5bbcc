#include "platform/linux/x11/Properties.h"

#include <vector>

#include "platform/linux/x11/Connection.h"

namespace vesk::x11 {

xcb_atom_t atom(xcb_connection_t* connection, std::string_view name) {
  const auto request = xcb_intern_atom(connection, /*only_if_exists=*/0,
                                       static_cast<std::uint16_t>(name.size()), name.data());
  const ReplyPtr<xcb_intern_atom_reply_t> reply(
      xcb_intern_atom_reply(connection, request, nullptr));
  return reply == nullptr ? xcb_atom_t{XCB_NONE} : reply->atom;
}

void setAtoms(xcb_connection_t* connection, xcb_window_t window, std::string_view property,
              std::initializer_list<std::string_view> values) {
  std::vector<xcb_atom_t> atoms;
  for (const auto value : values) atoms.push_back(atom(connection, value));
  xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, atom(connection, property),
                      XCB_ATOM_ATOM, /*format=*/32, static_cast<std::uint32_t>(atoms.size()),
                      atoms.data());
}

void setCardinal(xcb_connection_t* connection, xcb_window_t window, std::string_view property,
                 std::uint32_t value) {
  xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, atom(connection, property),
                      XCB_ATOM_CARDINAL, /*format=*/32, 1, &value);
}

}  // namespace vesk::x11
