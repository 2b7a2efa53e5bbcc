#include "agent/server/PageHttp.h"

#include <gtest/gtest.h>

#include <string>

#include "agent/server/PageFiles.h"

namespace vesk::agent::VESK_FILE {
namespace {

namespace http = boost::beast::http;
using pageHttp::Request;
using pageHttp::Status;

constexpr std::uint16_t port = 8080;
const std::string token(43, 't');

Request request(const std::string& target, http::verb method = http::verb::get) {
  Request result(method, target, 11);
  result.set(http::field::host, "127.0.0.1:8080");
  return result;
}

Request upgrade() {
  Request result = request("/viewer");
  result.set(http::field::connection, "Upgrade");
  result.set(http::field::upgrade, "websocket");
  result.set(http::field::sec_websocket_version, "13");
  result.set(http::field::sec_websocket_key, "dGhlIHNhbXBsZSBub25jZQ==");
  result.set(http::field::sec_websocket_protocol, "vesk-viewer.1");
  result.set(http::field::origin, "http://127.0.0.1:8080");
  return result;
}

Status statusOf(const Request& request) {
  const auto response = pageHttp::answer(request, port);
  return response ? response->result() : Status::switching_protocols;
}

TEST(PageHttpTest, ServesThePageAndItsCookie) {
  for (const auto* target : {"/", "/index.html", "/?key=abc"}) {
    const auto response = pageHttp::answer(request(target), port);
    ASSERT_TRUE(response);
    EXPECT_EQ(response->result(), Status::ok) << target;
    EXPECT_EQ((*response)[http::field::content_type], "text/html; charset=utf-8");
    EXPECT_EQ((*response)[http::field::set_cookie].substr(0, 15), "vesk-page-8080=");
    EXPECT_EQ(response->body(), findPageFile("/index.html")->content);
  }
}

TEST(PageHttpTest, ABrowserKeepsTheCookieThatItHas) {
  Request again = request("/");
  again.set(http::field::cookie, "vesk-page-8080=" + token);
  EXPECT_EQ(pageHttp::browserOf(again, port), PageKey::Tokens{token});
  EXPECT_EQ(pageHttp::answer(again, port)->count(http::field::set_cookie), 0U);
}

TEST(PageHttpTest, EveryAnswerIsSecured) {
  for (const auto& asked : {request("/"), request("/nothing"), request("/", http::verb::post)}) {
    const auto response = pageHttp::answer(asked, port);
    ASSERT_TRUE(response);
    EXPECT_EQ((*response)["Content-Security-Policy"].substr(0, 37),
              "default-src 'none'; script-src 'self'");
    EXPECT_EQ((*response)["X-Content-Type-Options"], "nosniff");
    EXPECT_EQ((*response)["Referrer-Policy"], "no-referrer");
    EXPECT_EQ((*response)["Cross-Origin-Opener-Policy"], "same-origin");
    EXPECT_EQ((*response)["Cross-Origin-Resource-Policy"], "same-origin");
    EXPECT_EQ((*response)[http::field::cache_control], "no-store");
  }
}

TEST(PageHttpTest, NothingElseIsServed) {
  for (const auto* target : {"/nothing", "/../page.css", "//", "", "*", "/index.html/",
                             "http://127.0.0.1:8080/", "/%69ndex.html", "/viewer"}) {
    EXPECT_EQ(statusOf(request(target)), Status::not_found) << target;
  }
  EXPECT_EQ(statusOf(request("/", http::verb::post)), Status::method_not_allowed);
  EXPECT_EQ(statusOf(request("/", http::verb::connect)), Status::method_not_allowed);
}

TEST(PageHttpTest, AForeignHostIsRefusedFirst) {
  Request foreign = request("/");
  foreign.set(http::field::host, "evil.example:8080");
  EXPECT_EQ(statusOf(foreign), Status::forbidden);
  foreign.erase(http::field::host);
  EXPECT_EQ(statusOf(foreign), Status::forbidden);
  Request two = request("/");
  two.insert(http::field::host, "127.0.0.1:8080");
  EXPECT_EQ(statusOf(two), Status::forbidden);
  Request rebound = upgrade();
  rebound.set(http::field::host, "evil.example:8080");
  EXPECT_EQ(statusOf(rebound), Status::forbidden);
}

TEST(PageHttpTest, TheSocketIsForThePageAlone) {
  EXPECT_EQ(statusOf(upgrade()), Status::switching_protocols);

  Request foreign = upgrade();
  foreign.set(http::field::origin, "http://evil.example");
  EXPECT_EQ(statusOf(foreign), Status::forbidden);
  foreign.erase(http::field::origin);
  EXPECT_EQ(statusOf(foreign), Status::forbidden);

  Request elsewhere = upgrade();
  elsewhere.target("/");
  EXPECT_EQ(statusOf(elsewhere), Status::not_found);

  Request other = upgrade();
  other.set(http::field::sec_websocket_protocol, "chat, vesk-viewer.10");
  EXPECT_EQ(statusOf(other), Status::bad_request);
  other.set(http::field::sec_websocket_protocol, "chat, vesk-viewer.1");
  EXPECT_EQ(statusOf(other), Status::switching_protocols);
}

TEST(PageHttpTest, RefusalsAreOneLine) {
  const auto response = pageHttp::answer(request("/nothing"), port);
  ASSERT_TRUE(response);
  EXPECT_EQ(response->body(), "There is nothing here.\n");
  EXPECT_EQ((*response)[http::field::content_type], "text/plain; charset=utf-8");
}

}  // namespace
}  // namespace vesk::agent::VESK_FILE
