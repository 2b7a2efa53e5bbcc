#include "agent/server/PageCookie.h"

#include <gtest/gtest.h>

namespace vesk::agent {
namespace {

const std::string token(43, 't');

TEST(PageCookieTest, FindsTheTokenAmongOtherCookies) {
  const std::string own = "vesk-page-8080=" + token;
  for (const auto& header :
       {own, "a=b; " + own, own + "; a=b", "a=b;" + own + ";", "vesk-page-8080=; " + own,
        "vesk-page-8081=" + std::string(43, 'o') + "; " + own}) {
    EXPECT_EQ(pageCookie::tokenIn(header, 8080), token) << header;
  }
}

TEST(PageCookieTest, HasNoTokenWithoutOneOfItsOwn) {
  for (const auto& header :
       {std::string(), std::string(";;; ;"), std::string("vesk-page-8080=short"),
        "vesk-page-8081=" + token, "x-vesk-page-8080=" + token, "vesk-page-8080 =" + token}) {
    EXPECT_EQ(pageCookie::tokenIn(header, 8080), "") << header;
  }
}

TEST(PageCookieTest, IsKeptFromScriptsAndFromOtherSites) {
  EXPECT_EQ(pageCookie::header(token, 8080),
            "vesk-page-8080=" + token + "; Path=/; HttpOnly; SameSite=Strict");
}

}  // namespace
}  // namespace vesk::agent
