#include <gtest/gtest.h>

#include "link/Message.h"

namespace vesk::VESK_FILE {
namespace {

std::optional<double> number(std::string_view value) {
  const std::string text = R"({"x":)" + std::string(value) + "}";
  const auto message = Message::parse(std::as_bytes(std::span(text)));
  return message ? message->number("x") : std::nullopt;
}

TEST(MessageNumberTest, ReadsIntegersAndFractions) {
  EXPECT_EQ(number("0"), 0.0);
  EXPECT_EQ(number("-3"), -3.0);
  EXPECT_EQ(number("0.25"), 0.25);
  EXPECT_EQ(number("1e2"), 100.0);
  EXPECT_EQ(number("18446744073709551615"), 18446744073709551615.0);
}

TEST(MessageNumberTest, TakesBooleansForOneAndZero) {
  EXPECT_EQ(number("true"), 1.0);
  EXPECT_EQ(number("false"), 0.0);
}

TEST(MessageNumberTest, FindsNothingElse) {
  for (const auto* value : {R"("1")", "null", "[1]", R"({"x":1})"}) {
    EXPECT_FALSE(number(value)) << value;
  }
  EXPECT_FALSE(Message("op").number("x"));
}

}  // namespace
}  // namespace vesk::VESK_FILE
