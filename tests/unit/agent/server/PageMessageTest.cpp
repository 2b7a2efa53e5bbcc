#include "agent/server/PageMessage.h"

#include <gtest/gtest.h>

#include "agent/Command.h"

namespace vesk::agent::VESK_FILE {
namespace {

Bytes message(char kind, std::string_view payload) {
  Bytes bytes{static_cast<std::byte>(kind)};
  const auto text = bytesOf(payload);
  bytes.insert(bytes.end(), text.begin(), text.end());
  return bytes;
}

std::string refusal(const Bytes& bytes) {
  const auto parsed = pageMessage::parseFrame(bytes);
  const auto* malformed = std::get_if<pageMessage::Malformed>(&parsed);
  return malformed == nullptr ? "" : malformed->text;
}

TEST(PageMessageTest, ControlAndInputAreFrames) {
  for (const char kind : {'\1', '\2'}) {
    const Bytes bytes = message(kind, R"({"op":"stop"})");
    const auto parsed = pageMessage::parseFrame(bytes);
    const auto* frame = std::get_if<Frame>(&parsed);
    ASSERT_NE(frame, nullptr);
    EXPECT_EQ(frame->kind, kind);
    EXPECT_EQ(pageMessage::ofFrame(*frame), bytes);
  }
}

TEST(PageMessageTest, EverythingElseIsRefusedInWords) {
  EXPECT_EQ(refusal({}), "The page sent an empty message.");
  for (const char kind : {'\0', '\3', '\4', '{'}) {
    EXPECT_EQ(refusal(message(kind, "{}")),
              "The page sent a frame of a kind that no page may send.");
  }
  for (const auto* payload : {"", "[]", "null", "{", "{}{}", "{\"a\":\"\xff\"}"}) {
    EXPECT_EQ(refusal(message('\1', payload)), "The page sent a frame that holds no JSON object.")
        << payload;
  }
}

TEST(PageMessageTest, AFrameHasALimit) {
  const auto padded = [](std::size_t size) {
    return message('\2', "{" + std::string(size - 2, ' ') + "}");
  };
  EXPECT_EQ(refusal(padded(pageMessage::maxPayload)), "");
  EXPECT_EQ(refusal(padded(pageMessage::maxPayload + 1)),
            "The page sent a message that is too long.");
}

TEST(PageMessageTest, TheKeyIsATextMember) {
  EXPECT_EQ(pageMessage::parseKey(bytesOf(R"({"key":"abc"})")), "abc");
  for (const auto* text : {"", "{}", "abc", R"({"key":1})", R"(["key"])", R"({"key":"abc")"}) {
    EXPECT_EQ(pageMessage::parseKey(bytesOf(text)), std::nullopt) << text;
  }
}

TEST(PageMessageTest, ThePageIsToldInJson) {
  EXPECT_EQ(pageMessage::ofProgram(true), R"({"program":"connected"})");
  EXPECT_EQ(pageMessage::ofProgram(false), R"({"program":"gone"})");
  EXPECT_EQ(pageMessage::ofDropped(17), R"({"dropped":17})");
  EXPECT_EQ(pageMessage::ofNote("a \"b\""), R"({"note":"a \"b\""})");
  EXPECT_EQ(pageMessage::ofNote("\xff"), "{\"note\":\"\xef\xbf\xbd\"}");
}

}  // namespace
}  // namespace vesk::agent::VESK_FILE
