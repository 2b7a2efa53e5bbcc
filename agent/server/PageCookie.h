#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vesk::agent::pageCookie {

/// The tokens that a request's Cookie header brings. Browsers keep one jar for all ports of an
/// address, so the name has the port in it; a page at another port can still set a cookie of this
/// name for a longer path, which then comes first.
std::vector<std::string_view> tokensIn(std::string_view header, std::uint16_t port);

/// The Set-Cookie header that gives a browser its token.
std::string header(std::string_view token, std::uint16_t port);

}  // namespace vesk::agent::pageCookie
