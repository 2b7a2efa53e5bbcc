#include "platform/linux/x11/server/Properties.h"

#include "platform/linux/x11/server/Connection.h"

namespace vesk::x11::server {
namespace {

/// In units of 4 bytes.
constexpr std::uint32_t longest = 1024;

ReplyPtr<xcb_get_property_reply_t> read(xcb_connection_t* connection, xcb_window_t window,
                                        xcb_atom_t property, xcb_atom_t type) {
  const auto request =
      xcb_get_property(connection, /*_delete=*/0, window, property, type, 0, longest);
  return ReplyPtr<xcb_get_property_reply_t>(xcb_get_property_reply(connection, request, nullptr));
}

}  // namespace

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

std::vector<std::uint32_t> numbers(xcb_connection_t* connection, xcb_window_t window,
                                   std::string_view property) {
  return numbers(connection, window, atom(connection, property), XCB_ATOM_ANY);
}

std::vector<std::uint32_t> numbers(xcb_connection_t* connection, xcb_window_t window,
                                   xcb_atom_t property, xcb_atom_t type) {
  const auto reply = read(connection, window, property, type);
  if (reply == nullptr || reply->format != 32) return {};
  const auto* const values = static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
  return {values, values + reply->value_len};
}

std::string text(xcb_connection_t* connection, xcb_window_t window, std::string_view property) {
  const auto reply = read(connection, window, atom(connection, property), XCB_ATOM_ANY);
  if (reply == nullptr || reply->format != 8) return {};
  const auto* const letters = static_cast<const char*>(xcb_get_property_value(reply.get()));
  return {letters, letters + reply->value_len};
}

}  // namespace vesk::x11::server
