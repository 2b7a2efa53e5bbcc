#pragma once

#include <cstdint>
#include <string_view>

namespace vesk::agent {

/// Whether a request's Host names the page itself. Any other name that leads to the loopback
/// address is one that somebody has pointed there.
bool isOwnHost(std::string_view host, std::uint16_t port);

/// Whether a request's Origin is the page itself.
bool isOwnOrigin(std::string_view origin, std::uint16_t port);

}  // namespace vesk::agent
