#include "agent/Requests.h"

#include <gtest/gtest.h>

namespace vesk::agent::requests::VESK_FILE {
namespace {

TEST(RequestsTest, AreCompactWithTheirNameFirst) {
  EXPECT_EQ(start("Ada"), R"({"op":"start","viewer":"Ada","consent":true,"input":true})");
  EXPECT_EQ(bitrate(-1), R"({"op":"bitrate","bitrateKbps":-1})");
  EXPECT_EQ(input(Permission::denied), R"({"op":"input","allowed":false})");
}

TEST(RequestsTest, EscapeTextAndRefuseWhatIsNotUtf8) {
  EXPECT_EQ(viewer("a\"b\\c\td"), R"({"op":"viewer","name":"a\"b\\c\td"})");
  EXPECT_EQ(text("😀"), R"({"t":"u","s":"😀"})");
  EXPECT_FALSE(viewer("\xc3"));
  EXPECT_FALSE(start("\xff"));
  EXPECT_FALSE(text("\xed\xa0\x80"));
}

TEST(RequestsTest, PutAPositionIntoEveryPress) {
  EXPECT_EQ(move({0.1, 1}), R"({"t":"m","e":"move","x":0.1,"y":1.0})");
  EXPECT_EQ(button(2, Stroke::down, {0.1, 0.2}), R"({"t":"m","e":"down","x":0.1,"y":0.2,"b":2})");
  EXPECT_EQ(button(0, Stroke::up, {}), R"({"t":"m","e":"up","x":0.5,"y":0.5,"b":0})");
}

}  // namespace
}  // namespace vesk::agent::requests::VESK_FILE
