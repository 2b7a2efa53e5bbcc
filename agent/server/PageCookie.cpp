#include "agent/server/PageCookie.h"

#include <algorithm>

#include "agent/server/PageKey.h"

namespace vesk::agent::pageCookie {
namespace {

std::string assignment(std::uint16_t port) { return "vesk-page-" + std::to_string(port) + "="; }

}  // namespace

std::vector<std::string_view> tokensIn(std::string_view header, std::uint16_t port) {
  const std::string wanted = assignment(port);
  std::vector<std::string_view> tokens;
  while (!header.empty()) {
    const auto end = std::min(header.find(';'), header.size());
    std::string_view cookie = header.substr(0, end);
    cookie.remove_prefix(std::min(cookie.find_first_not_of(' '), cookie.size()));
    if (cookie.starts_with(wanted) && isToken(cookie.substr(wanted.size()))) {
      tokens.push_back(cookie.substr(wanted.size()));
    }
    header.remove_prefix(std::min(end + 1, header.size()));
  }
  return tokens;
}

std::string header(std::string_view token, std::uint16_t port) {
  return assignment(port) + std::string(token) + "; Path=/; HttpOnly; SameSite=Strict";
}

}  // namespace vesk::agent::pageCookie
