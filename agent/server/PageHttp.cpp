#include "agent/server/PageHttp.h"

#include <boost/beast/http/rfc7230.hpp>
#include <boost/beast/websocket/rfc6455.hpp>
#include <string>

#include "agent/server/PageCookie.h"
#include "agent/server/PageFiles.h"
#include "agent/server/PageOrigin.h"

namespace vesk::agent::pageHttp {
namespace {

namespace http = boost::beast::http;

std::string_view view(boost::beast::string_view text) { return {text.data(), text.size()}; }

/// The value of a header that may come once; empty when it is absent, or there more than once.
std::string_view single(const Request& request, http::field name) {
  return request.count(name) == 1 ? view(request[name]) : std::string_view();
}

std::optional<Response> answerUpgrade(const Request& request, std::uint16_t port) {
  if (!isOwnOrigin(single(request, http::field::origin), port)) {
    return refusal(Status::forbidden, "Only the agent's own page may be a viewer.");
  }
  if (view(request.target()) != "/viewer") {
    return refusal(Status::not_found, "The viewer's socket is at /viewer.");
  }
  http::token_list offered(request[http::field::sec_websocket_protocol]);
  if (!offered.exists(boost::beast::string_view(subprotocol.data(), subprotocol.size()))) {
    return refusal(Status::bad_request,
                   "The viewer's socket speaks " + std::string(subprotocol) + " alone.");
  }
  return std::nullopt;
}

Response answerFile(const Request& request, std::uint16_t port) {
  const std::string_view target = view(request.target());
  const PageFile* file = findPageFile(target.substr(0, target.find('?')));
  if (file == nullptr) return refusal(Status::not_found, "There is nothing here.");
  Response response(Status::ok, request.version());
  secure(response);
  response.set(http::field::content_type, std::string(file->type));
  if (file->path == "/index.html" && browserOf(request, port).empty()) {
    response.set(http::field::set_cookie, pageCookie::header(randomToken(), port));
  }
  response.body() = file->content;
  response.prepare_payload();
  return response;
}

}  // namespace

std::optional<Response> answer(const Request& request, std::uint16_t port) {
  if (!isOwnHost(single(request, http::field::host), port)) {
    return refusal(Status::forbidden, "The page is only found at 127.0.0.1 and at localhost.");
  }
  if (boost::beast::websocket::is_upgrade(request)) return answerUpgrade(request, port);
  if (request.method() != http::verb::get) {
    return refusal(Status::method_not_allowed, "The page can only be read.");
  }
  return answerFile(request, port);
}

Response refusal(Status status, std::string_view text) {
  constexpr unsigned version = 11;
  Response response(status, version);
  secure(response);
  response.set(http::field::content_type, "text/plain; charset=utf-8");
  if (status == Status::method_not_allowed) response.set(http::field::allow, "GET");
  response.body() = std::string(text) + "\n";
  response.prepare_payload();
  return response;
}

void secure(http::fields& headers) {
  headers.set("Content-Security-Policy",
              "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; "
              "connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'");
  headers.set("X-Content-Type-Options", "nosniff");
  headers.set("Referrer-Policy", "no-referrer");
  headers.set("Cross-Origin-Opener-Policy", "same-origin");
  headers.set("Cross-Origin-Resource-Policy", "same-origin");
  headers.set(http::field::cache_control, "no-store");
}

PageKey::Tokens browserOf(const Request& request, std::uint16_t port) {
  return pageCookie::tokensIn(single(request, http::field::cookie), port);
}

}  // namespace vesk::agent::pageHttp
