#include "link/Message.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

namespace vesk::VESK_FILE {
namespace {

std::optional<Message> parse(std::string_view text) {
  return Message::parse(std::as_bytes(std::span(text)));
}

/// The message whose member "v" is `value`.
Message withValue(const std::string& value) { return parse(R"({"v":)" + value + "}").value(); }

TEST(MessageParseTest, TakesAnObject) {
  EXPECT_TRUE(parse("{}"));
  EXPECT_TRUE(parse(" {\"op\" : \"stop\"}\n"));
}

TEST(MessageParseTest, RefusesEverythingElse) {
  for (const auto* text :
       {"", " ", "[1,2]", "\"text\"", "1", "true", "null", "{", "{}x", "{\"a\":}", "{a:1}",
        "{'a':1}", "{\"a\":1,}", "{\"a\":NaN}", "{\"a\":1e999}", "{\"a\":\"\xff\"}",
        "{\"a\":\"\\ud800\"}", "nonsense", "{}{}"}) {
    EXPECT_FALSE(parse(text)) << text;
  }
}

TEST(MessageParseTest, RefusesBytesAfterAZero) {
  EXPECT_FALSE(parse(std::string_view("{}\0{}", 5)));
}

TEST(MessageParseTest, SurvivesTheDeepestNestingThatAFrameCanCarry) {
  const std::size_t depth = 500'000;
  const std::string nested =
      R"({"op":"start","banner":{"a":)" + std::string(depth, '[') + std::string(depth, ']') + "}}";
  auto message = parse(nested);
  ASSERT_TRUE(message);
  const Message copy = *message;
  const auto banner = copy.object("banner");
  message.reset();
  ASSERT_TRUE(banner);
  EXPECT_EQ(banner->integer("a"), std::nullopt);
  EXPECT_FALSE(parse(std::string(1'048'576, '[')));
}

TEST(MessageParseTest, CanBeWrittenWithoutWhatWasNotKept) {
  const auto message = parse(R"({"a":[1,[2]],"b":{"c":[3],"d":4,"e":{"f":{}}},"g":5})");
  ASSERT_TRUE(message);
  const auto text = message->serialise();
  ASSERT_TRUE(text);
  const auto again = Message::parse(std::as_bytes(std::span(*text)));
  ASSERT_TRUE(again);
  EXPECT_EQ(again->integer("g"), 5);
  ASSERT_TRUE(again->object("b"));
  EXPECT_EQ(again->object("b")->integer("d"), 4);
}

TEST(MessageParseTest, KeepsNothingThatNobodyReads) {
  const auto message = parse(R"({"a":[7,[7]],"b":{"c":1,"d":{"e":7},"f":[7]},"g":"h"})");
  EXPECT_EQ(message->object("b")->integer("c"), 1);
  EXPECT_EQ(message->string("g"), "h");
  EXPECT_EQ(message->serialise(), R"({"b":{"c":1},"g":"h"})");
}

TEST(MessageParseTest, KeepsTheFirstMembersOfManyOnly) {
  const auto members = [](int first, int last) {
    std::string text;
    for (int i = first; i <= last; ++i) text += "\"" + std::to_string(i) + "\":0,";
    return text;
  };
  const auto kept = parse("{" + members(1, 255) + R"("256":1,"257":1})");
  EXPECT_EQ(kept->integer("256"), 1);
  EXPECT_EQ(kept->integer("257"), std::nullopt);
}

TEST(MessageStringTest, IsAStringAndNothingElse) {
  EXPECT_EQ(withValue(R"("Anna \u00fc\ud83d\ude00")").string("v"), "Anna \u00fc\U0001f600");
  EXPECT_EQ(withValue(R"("")").string("v"), "");
  for (const auto* other : {"1", "true", "null", "{}", "[]"}) {
    EXPECT_EQ(withValue(other).string("v"), std::nullopt) << other;
  }
  EXPECT_EQ(withValue("1").string("w"), std::nullopt);
}

TEST(MessageIntegerTest, IsANumberWithAnIntegralValue) {
  EXPECT_EQ(withValue("25").integer("v"), 25);
  EXPECT_EQ(withValue("25.0").integer("v"), 25);
  EXPECT_EQ(withValue("2.5e1").integer("v"), 25);
  EXPECT_EQ(withValue("-7").integer("v"), -7);
  EXPECT_EQ(withValue("-0.0").integer("v"), 0);
  EXPECT_EQ(withValue("true").integer("v"), 1);
  EXPECT_EQ(withValue("false").integer("v"), 0);
}

TEST(MessageIntegerTest, ReachesTheEndsOfItsRange) {
  EXPECT_EQ(withValue("9223372036854775807").integer("v"),
            std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(withValue("-9223372036854775808").integer("v"),
            std::numeric_limits<std::int64_t>::min());
  EXPECT_EQ(withValue("-9223372036854775808.0").integer("v"),
            std::numeric_limits<std::int64_t>::min());
}

TEST(MessageIntegerTest, IsAbsentForEverythingElse) {
  for (const auto* other :
       {"25.5", "2500.5", "\"25\"", "null", "{}", "[25]", "9223372036854775808",
        "18446744073709551615", "9223372036854775808.0", "-9223372036854777856.0", "1e300"}) {
    EXPECT_EQ(withValue(other).integer("v"), std::nullopt) << other;
  }
  EXPECT_EQ(withValue("25").integer("w"), std::nullopt);
}

TEST(MessageBooleanTest, IsTrueFalseOneOrZero) {
  for (const auto* yes : {"true", "1", "1.0"}) EXPECT_EQ(withValue(yes).boolean("v"), true) << yes;
  for (const auto* no : {"false", "0", "0.0"}) EXPECT_EQ(withValue(no).boolean("v"), false) << no;
  for (const auto* other : {"2", "-1", "0.5", "\"true\"", "null", "{}", "[]"}) {
    EXPECT_EQ(withValue(other).boolean("v"), std::nullopt) << other;
  }
}

TEST(MessageObjectTest, IsAnObjectAndNothingElse) {
  const auto inner = withValue(R"({"strip":50})").object("v");
  ASSERT_TRUE(inner);
  EXPECT_EQ(inner->integer("strip"), 50);
  for (const auto* other : {"[1]", "\"{}\"", "1", "null"}) {
    EXPECT_FALSE(withValue(other).object("v")) << other;
  }
}

TEST(MessageSerialiseTest, IsCompact) {
  const Message message = Message("hello")
                              .with("user", "anna")
                              .with("uid", std::uint32_t{501})
                              .with("screenRecording", true)
                              .with("accessibility", false);
  const auto text = message.serialise();
  ASSERT_TRUE(text);
  EXPECT_EQ(text->find_first_of(" \n"), std::string::npos);
  const auto again = parse(*text);
  ASSERT_TRUE(again);
  EXPECT_EQ(again->string("op"), "hello");
  EXPECT_EQ(again->string("user"), "anna");
  EXPECT_EQ(again->integer("uid"), 501);
  EXPECT_EQ(again->boolean("screenRecording"), true);
  EXPECT_EQ(again->boolean("accessibility"), false);
  EXPECT_NE(text->find(R"("accessibility":false)"), std::string::npos) << *text;
}

TEST(MessageSerialiseTest, WritesTextAsUtf8) {
  const auto text = Message("fault").with("message", "Settings › Privacy").serialise();
  EXPECT_EQ(text, R"({"message":"Settings › Privacy","op":"fault"})");
}

TEST(MessageSerialiseTest, FailsForTextThatIsNotUtf8) {
  EXPECT_EQ(Message("hello").with("user", "an\xffna").serialise(), std::nullopt);
}

TEST(MessageTest, IsNotChangedByWhatIsAddedToACopy) {
  const Message first("state");
  const Message second = first.with("state", "starting");
  EXPECT_EQ(first.string("state"), std::nullopt);
  EXPECT_EQ(second.string("state"), "starting");
}

}  // namespace
}  // namespace vesk::VESK_FILE
