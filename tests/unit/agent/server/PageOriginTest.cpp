#include "agent/server/PageOrigin.h"

#include <gtest/gtest.h>

namespace vesk::agent::VESK_FILE {
namespace {

TEST(PageOriginTest, TheHostIsTheLoopbackAddressWithItsPort) {
  EXPECT_TRUE(isOwnHost("127.0.0.1:8080", 8080));
  EXPECT_TRUE(isOwnHost("localhost:8080", 8080));
  for (const auto* foreign :
       {"", "127.0.0.1", "localhost", "127.0.0.1:808", "127.0.0.1:80800", "127.0.0.1:8080 ",
        "127.0.0.1:8080:8080", "evil.example:8080", "localhost.evil.example:8080",
        "evil.localhost:8080", "[::1]:8080", "127.0.0.2:8080", "127.0.0.1:"}) {
    EXPECT_FALSE(isOwnHost(foreign, 8080)) << foreign;
  }
}

TEST(PageOriginTest, BrowsersLeaveThePortOutThatTheSchemeImplies) {
  EXPECT_TRUE(isOwnHost("localhost", 80));
  EXPECT_TRUE(isOwnOrigin("http://127.0.0.1", 80));
  EXPECT_FALSE(isOwnHost("localhost", 81));
}

TEST(PageOriginTest, TheOriginIsThePageItself) {
  EXPECT_TRUE(isOwnOrigin("http://127.0.0.1:8080", 8080));
  EXPECT_TRUE(isOwnOrigin("http://localhost:8080", 8080));
  for (const auto* foreign : {"", "null", "127.0.0.1:8080", "https://127.0.0.1:8080",
                              "http://127.0.0.1:8081", "http://127.0.0.1:8080/",
                              "http://evil.example", "http://evil.example/http://127.0.0.1:8080"}) {
    EXPECT_FALSE(isOwnOrigin(foreign, 8080)) << foreign;
  }
}

}  // namespace
}  // namespace vesk::agent::VESK_FILE
