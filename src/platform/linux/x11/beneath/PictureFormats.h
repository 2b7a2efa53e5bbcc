#pragma once

#include <xcb/render.h>

#include <map>

#include "platform/linux/x11/server/Connection.h"

namespace vesk::x11::beneath {

/// The server's number for the layout of each visual's pixels.
using PictureFormats = std::map<xcb_visualid_t, xcb_render_pictformat_t>;

/// None of a server without the extension. Waits for the server.
inline PictureFormats pictureFormats(const server::Connection& connection) {
  PictureFormats formats;
  auto* const c = connection.get();
  if (!connection.offers("RENDER")) return formats;
  const server::ReplyPtr<xcb_render_query_pict_formats_reply_t> reply(
      xcb_render_query_pict_formats_reply(c, xcb_render_query_pict_formats(c), nullptr));
  if (reply == nullptr) return formats;
  for (auto screen = xcb_render_query_pict_formats_screens_iterator(reply.get()); screen.rem > 0;
       xcb_render_pictscreen_next(&screen)) {
    for (auto depth = xcb_render_pictscreen_depths_iterator(screen.data); depth.rem > 0;
         xcb_render_pictdepth_next(&depth)) {
      for (auto visual = xcb_render_pictdepth_visuals_iterator(depth.data); visual.rem > 0;
           xcb_render_pictvisual_next(&visual)) {
        formats[visual.data->visual] = visual.data->format;
      }
    }
  }
  return formats;
}

}  // namespace vesk::x11::beneath
