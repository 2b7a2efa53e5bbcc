#include "agent/server/PageCookie.h"

#include <gtest/gtest.h>

namespace vesk::agent::VESK_FILE {
namespace {

using Tokens = std::vector<std::string_view>;

const std::string token(43, 't');

TEST(PageCookieTest, FindsTheTokenAmongOtherCookies) {
  const std::string own = "vesk-page-8080=" + token;
  for (const auto& header :
       {own, "a=b; " + own, own + "; a=b", "a=b;" + own + ";", "vesk-page-8080=; " + own,
        "vesk-page-8081=" + std::string(43, 'o') + "; " + own}) {
    EXPECT_EQ(pageCookie::tokensIn(header, 8080), Tokens{token}) << header;
  }
}

TEST(PageCookieTest, FindsAllTokensOfItsName) {
  const std::string other(43, 'o');
  EXPECT_EQ(pageCookie::tokensIn("vesk-page-8080=" + other + "; a=b; vesk-page-8080=short; " +
                                     "vesk-page-8080=" + token,
                                 8080),
            (Tokens{other, token}));
}

TEST(PageCookieTest, HasNoTokenWithoutOneOfItsOwn) {
  for (const auto& header :
       {std::string(), std::string(";;; ;"), std::string("vesk-page-8080=short"),
        "vesk-page-8081=" + token, "x-vesk-page-8080=" + token, "vesk-page-8080 =" + token}) {
    EXPECT_EQ(pageCookie::tokensIn(header, 8080), Tokens()) << header;
  }
}

TEST(PageCookieTest, IsKeptFromScriptsAndFromOtherSites) {
  EXPECT_EQ(pageCookie::header(token, 8080),
            "vesk-page-8080=" + token + "; Path=/; HttpOnly; SameSite=Strict");
}

}  // namespace
}  // namespace vesk::agent::VESK_FILE
