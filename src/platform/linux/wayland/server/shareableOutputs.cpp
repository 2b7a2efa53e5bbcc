#include "platform/linux/wayland/server/shareableOutputs.h"

#include <unistd.h>

#include <cmath>

namespace vesk::wayland::server {

ShareableDisplay shareableDisplay(const Output& output) {
  return {output.id, std::llround(output.area.width), std::llround(output.area.height)};
}

ShareableContent shareableOutputs(Connection& connection) {
  ShareableContent content;
  for (const auto& output : OutputList(connection).current()) {
    content.displays.push_back(shareableDisplay(output));
  }
  content.applications.push_back({::getpid()});
  return content;
}

}  // namespace vesk::wayland::server
