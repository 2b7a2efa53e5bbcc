#include "agent/FrameCheck.h"

#include <gtest/gtest.h>

#include "agent/Command.h"

namespace vesk::agent::VESK_FILE {
namespace {

Bytes bytes(std::string_view text) {
  const ByteView view = bytesOf(text);
  return {view.begin(), view.end()};
}

Frame control(std::string_view text) { return {1, bytes(text)}; }

std::string errorOf(const Frame& frame) {
  const auto checked = checkFrame(frame);
  const auto* error = std::get_if<ProtocolError>(&checked);
  return error == nullptr ? "" : error->text;
}

TEST(FrameCheckTest, KeepsAControlMessageAsItCame) {
  const auto checked = checkFrame(control(R"({ "a":1.50,"op":"hello" })"));
  const auto& message = std::get<ControlMessage>(checked);
  EXPECT_EQ(message.op, "hello");
  EXPECT_EQ(message.text, R"({ "a":1.50,"op":"hello" })");
}

TEST(FrameCheckTest, PutsAMessageOnOneLine) {
  const auto checked = checkFrame(control("{\r\n\"op\":\"a\\nb\"\n}"));
  EXPECT_EQ(std::get<ControlMessage>(checked).text, "{  \"op\":\"a\\nb\" }");
}

TEST(FrameCheckTest, RefusesOtherControlPayloads) {
  EXPECT_EQ(errorOf(control("[1]")), "control payload is not a JSON object: [1]");
  EXPECT_EQ(errorOf(control("{")), "control payload is not a JSON object: {");
  EXPECT_EQ(errorOf(control("")), "control payload is not a JSON object: (empty)");
  EXPECT_EQ(errorOf(control("{}")), "control message without a string \"op\": {}");
  EXPECT_EQ(errorOf(control(R"({"op":1})")), R"(control message without a string "op": {"op":1})");
}

TEST(FrameCheckTest, SplitsAVideoPayload) {
  const Frame frame{3, videoPayload(bytes(std::string("\0\0\0\1\x65x", 6)), Ticks{3000})};
  const auto checked = checkFrame(frame);
  const auto& unit = std::get<AccessUnit>(checked);
  EXPECT_EQ(unit.duration, Ticks{3000});
  EXPECT_EQ(unit.bytes.size(), 6U);
  EXPECT_EQ(unit.bytes.data(), frame.payload.data() + 4);
}

TEST(FrameCheckTest, RefusesVideoThatIsCutOrHasNoStartCode) {
  EXPECT_EQ(errorOf({3, Bytes(3)}), "video payload of 3 bytes has no room for its duration");
  EXPECT_EQ(errorOf({3, Bytes(4)}), "access unit does not begin with 00 00 00 01: (empty)");
  const Frame frame{3, videoPayload(bytes(std::string("\0\0\1\x65", 4)), Ticks{7})};
  const auto checked = checkFrame(frame);
  const auto& error = std::get<ProtocolError>(checked);
  EXPECT_EQ(error.text, R"(access unit does not begin with 00 00 00 01: \x00\x00\x01e)");
  ASSERT_TRUE(error.accessUnit);
  EXPECT_EQ(error.accessUnit->duration, Ticks{7});
  EXPECT_EQ(error.accessUnit->bytes.size(), 4U);
}

TEST(FrameCheckTest, RefusesTheKindsThatAProgramDoesNotSend) {
  EXPECT_EQ(errorOf({2, Bytes(5)}), "frame of kind 2 (5 bytes); the program sends 1 and 3");
  EXPECT_EQ(errorOf({0, {}}), "frame of kind 0 (0 bytes); the program sends 1 and 3");
  EXPECT_EQ(errorOf({255, {}}), "frame of kind 255 (0 bytes); the program sends 1 and 3");
}

TEST(FrameCheckTest, ExcerptsOnlyTheBeginning) {
  EXPECT_EQ(excerpt(bytes("a\n\x7f\xff")), R"(a\x0a\x7f\xff)");
  EXPECT_EQ(excerpt(Bytes(80, std::byte{'x'})), std::string(80, 'x'));
  EXPECT_EQ(excerpt(Bytes(81, std::byte{'x'})), std::string(80, 'x') + "...");
}

}  // namespace
}  // namespace vesk::agent::VESK_FILE
