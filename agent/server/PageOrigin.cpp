#include "agent/server/PageOrigin.h"

#include <string>

namespace vesk::agent {

bool isOwnHost(std::string_view host, std::uint16_t port) {
  constexpr std::uint16_t impliedPort = 80;
  for (const std::string_view name : {"127.0.0.1", "localhost"}) {
    if (host == std::string(name) + ":" + std::to_string(port)) return true;
    if (port == impliedPort && host == name) return true;
  }
  return false;
}

bool isOwnOrigin(std::string_view origin, std::uint16_t port) {
  constexpr std::string_view scheme = "http://";
  return origin.starts_with(scheme) && isOwnHost(origin.substr(scheme.size()), port);
}

}  // namespace vesk::agent
