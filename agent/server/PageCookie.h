#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vesk::agent::pageCookie {

/// The token that a request's Cookie header brings; empty when it has none. Browsers keep one jar
/// for all ports of an address, so the name has the port in it.
std::string_view tokenIn(std::string_view header, std::uint16_t port);

/// The Set-Cookie header that gives a browser its token.
std::string header(std::string_view token, std::uint16_t port);

}  // namespace vesk::agent::pageCookie
