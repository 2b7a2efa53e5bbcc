#pragma once

#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/fields.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/string_body.hpp>
#include <cstdint>
#include <optional>
#include <string_view>

#include "agent/server/PageKey.h"

/// What the page's server says to a request. Pure.
namespace vesk::agent::pageHttp {

using Request = boost::beast::http::request<boost::beast::http::empty_body>;
using Response = boost::beast::http::response<boost::beast::http::string_body>;
using Status = boost::beast::http::status;

/// The name of what a page and the agent speak over the WebSocket.
inline constexpr std::string_view subprotocol = "vesk-viewer.1";

/// The whole answer; nothing for a request that becomes the viewer's WebSocket.
std::optional<Response> answer(const Request& request, std::uint16_t port);

/// A refusal, in one line.
Response refusal(Status status, std::string_view text);

/// Adds what keeps a browser from loading anything from anywhere else, from showing the page in
/// another one, and from keeping it.
void secure(boost::beast::http::fields& headers);

/// The browser's tokens in the cookies of a request, which they point into.
PageKey::Tokens browserOf(const Request& request, std::uint16_t port);

}  // namespace vesk::agent::pageHttp
