#include "platform/linux/wayland/server/shareableOutputs.h"

#include <unistd.h>

#include <cmath>

#include "platform/linux/wayland/server/OutputList.h"

namespace vesk::wayland::server {

ShareableContent shareableOutputs(Connection& connection) {
  ShareableContent content;
  for (const auto& output : OutputList(connection).current()) {
    content.displays.push_back(
        {output.id, std::llround(output.area.width), std::llround(output.area.height)});
  }
  content.applications.push_back({::getpid()});
  return content;
}

}  // namespace vesk::wayland::server
