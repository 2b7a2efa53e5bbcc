#include "agent/Command.h"

#include <gtest/gtest.h>

namespace vesk::agent::VESK_FILE {
namespace {

using namespace std::chrono_literals;

std::string text(ByteView bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

Bytes control(std::string_view json) { return frameBytes(FrameKind::control, bytesOf(json)); }
Bytes input(std::string_view json) { return frameBytes(FrameKind::input, bytesOf(json)); }

Bytes sent(std::string_view line) {
  const auto parsed = parseCommand(line);
  EXPECT_TRUE(parsed) << line;
  return std::get<Send>(std::get<Command>(parsed.value())).bytes;
}

template <typename Kind>
Kind command(std::string_view line) {
  const auto parsed = parseCommand(line);
  EXPECT_TRUE(parsed) << line;
  return std::get<Kind>(std::get<Command>(parsed.value()));
}

std::string errorOf(std::string_view line) {
  const auto parsed = parseCommand(line);
  if (!parsed || !std::holds_alternative<CommandError>(*parsed)) return "";
  return std::get<CommandError>(*parsed).text;
}

TEST(CommandTest, SendsALineThatBeginsWithABraceByteForByte) {
  EXPECT_EQ(sent(R"({"op": "start" , "viewer":"J\u00f8rn"})"),
            control(R"({"op": "start" , "viewer":"J\u00f8rn"})"));
  EXPECT_EQ(sent("{not json"), control("{not json"));
  EXPECT_EQ(sent(" {}\r"), control(" {}\r"));
  EXPECT_EQ(sent("{\xff\x01}"), control("{\xff\x01}"));
}

TEST(CommandTest, SendsTextOfEitherKindByteForByte) {
  EXPECT_EQ(sent("control [1,2]"), control("[1,2]"));
  EXPECT_EQ(sent("control"), control(""));
  EXPECT_EQ(sent(R"(input  {"t":"m"} )"), input(R"( {"t":"m"} )"));
  EXPECT_EQ(sent("input"), input(""));
}

TEST(CommandTest, WritesRawBytes) {
  EXPECT_EQ(sent("raw 0100 0000 00"), Bytes(frameBytes(FrameKind::control, {})));
  EXPECT_EQ(sent("raw fF"), Bytes{std::byte{0xff}});
  for (const auto* line : {"raw", "raw 0", "raw 0g", "raw 0 1", "raw 012"}) {
    EXPECT_EQ(errorOf(line), "raw takes bytes in hexadecimal, such as: raw 01 00000000") << line;
  }
}

TEST(CommandTest, FramesAnyKind) {
  EXPECT_EQ(sent("frame 4 00ff"), (Bytes{std::byte{4}, std::byte{2}, std::byte{0}, std::byte{0},
                                         std::byte{0}, std::byte{0}, std::byte{0xff}}));
  EXPECT_EQ(sent("frame 0xff"),
            (Bytes{std::byte{0xff}, std::byte{0}, std::byte{0}, std::byte{0}, std::byte{0}}));
  EXPECT_EQ(sent("frame 1"), control(""));
  for (const auto* line : {"frame", "frame 256 00", "frame -1 00", "frame x 00"}) {
    EXPECT_EQ(errorOf(line),
              "frame takes a kind from 0 to 255 and a payload, such as: frame 4 00ff")
        << line;
  }
  EXPECT_EQ(errorOf("frame 1 xy"), "the payload is neither hexadecimal nor @FILE");
}

TEST(CommandTest, FramesAFile) {
  const auto file = command<SendFile>("frame 2 @some folder/a file ");
  EXPECT_EQ(file.kind, 2);
  EXPECT_EQ(file.path, "some folder/a file");
  EXPECT_EQ(errorOf("frame 2 @"), "the name of the file is missing behind '@'");
}

TEST(CommandTest, MakesTheRequestsOfTheirShortForms) {
  EXPECT_EQ(sent("start Ada \"L\""),
            control(R"({"op":"start","viewer":"Ada \"L\"","consent":true,"input":true})"));
  EXPECT_EQ(sent("start"), control(R"({"op":"start","viewer":"","consent":true,"input":true})"));
  EXPECT_EQ(sent("stop"), control(R"({"op":"stop"})"));
  EXPECT_EQ(sent(" keyframe "), control(R"({"op":"keyframe"})"));
  EXPECT_EQ(sent("bitrate 2500"), control(R"({"op":"bitrate","bitrateKbps":2500})"));
  EXPECT_EQ(sent("allow-input"), control(R"({"op":"input","allowed":true})"));
  EXPECT_EQ(sent("deny-input"), control(R"({"op":"input","allowed":false})"));
  EXPECT_EQ(sent("viewer Jørn"), control(R"({"op":"viewer","name":"Jørn"})"));
  EXPECT_EQ(sent("viewer"), control(R"({"op":"viewer","name":""})"));
}

TEST(CommandTest, MakesTheInputOfItsShortForms) {
  EXPECT_EQ(sent("wheel -1"), input(R"({"t":"m","e":"wheel","d":-1})"));
  EXPECT_EQ(sent("type a \\ \" ü"), input(R"({"t":"u","s":"a \\ \" ü"})"));
  EXPECT_EQ(sent("type   x "), input(R"({"t":"u","s":"  x "})"));
  EXPECT_EQ(sent("key 0x41 down"), input(R"({"t":"k","e":"down","c":65})"));
  EXPECT_EQ(sent("key 65 up extended"), input(R"({"t":"k","e":"up","c":65,"x":true})"));
  EXPECT_EQ(text(sent("key 13")), text(input(R"({"t":"k","e":"down","c":13})")) +
                                      text(input(R"({"t":"k","e":"up","c":13})")));
  EXPECT_EQ(text(sent("key 37 extended")),
            text(input(R"({"t":"k","e":"down","c":37,"x":true})")) +
                text(input(R"({"t":"k","e":"up","c":37,"x":true})")));
}

TEST(CommandTest, KeepsMovesAndClicksForTheirTurn) {
  const auto move = command<Move>("move 0.25 -1");
  EXPECT_EQ(move.position.x, 0.25);
  EXPECT_EQ(move.position.y, -1);
  EXPECT_EQ(command<Click>("click").button, 0);
  EXPECT_EQ(command<Click>("click 2").button, 2);
}

TEST(CommandTest, ReadsWaitsAndPauses) {
  EXPECT_EQ(command<Wait>("wait started").op, "started");
  EXPECT_EQ(command<Wait>("wait started").limit, 10s);
  EXPECT_EQ(command<Wait>("wait started 0.5").limit, 500ms);
  EXPECT_EQ(command<Pause>("pause 2").length, 2s);
}

TEST(CommandTest, KnowsThePlainCommands) {
  command<Disconnect>("disconnect");
  command<StopReading>("stopreading");
  command<StartReading>("startreading");
  command<Help>("help");
  command<Quit>("quit\r");
}

TEST(CommandTest, PassesOverBlankLinesAndComments) {
  for (const auto* line : {"", "  ", "\r", "# quit", "  #"}) {
    EXPECT_FALSE(parseCommand(line)) << line;
  }
}

TEST(CommandTest, TellsWhatIsWrong) {
  EXPECT_EQ(errorOf("strat Ada"), "unknown command 'strat'; 'help' lists them");
  EXPECT_EQ(errorOf("[1]"), "unknown command '[1]'; 'help' lists them");
  EXPECT_EQ(errorOf("quit now"), "quit takes nothing behind it");
  EXPECT_EQ(errorOf("viewer \xff"), "the text is not UTF-8");
  EXPECT_EQ(errorOf("start \xff"), "the text is not UTF-8");
  EXPECT_EQ(errorOf("type \xff"), "the text is not UTF-8");
}

TEST(CommandTest, TellsWhatACommandTakes) {
  for (const auto* line : {"type",
                           "bitrate",
                           "bitrate 2.5",
                           "bitrate 1 2",
                           "move",
                           "move 1",
                           "move 1 2 3",
                           "move a b",
                           "click x",
                           "click 1 2",
                           "wheel",
                           "wheel 0.5",
                           "key",
                           "key a",
                           "key 1 press",
                           "key 1 down up",
                           "key 1 down extended x",
                           "wait",
                           "wait op x",
                           "wait op -1",
                           "wait op 1 2",
                           "pause",
                           "pause -1",
                           "pause 1e9"}) {
    EXPECT_NE(errorOf(line).find(", such as: "), std::string::npos) << line << errorOf(line);
  }
}

TEST(CommandTest, HelpsWithEveryCommand) {
  for (const auto* name :
       {"control ",    "input ",       "frame ",      "raw ",       "start ",  "stop ",
        "keyframe ",   "bitrate ",     "allow-input", "deny-input", "viewer ", "move ",
        "click ",      "wheel ",       "key ",        "type ",      "wait ",   "pause ",
        "stopreading", "startreading", "disconnect ", "help ",      "quit "}) {
    EXPECT_NE(commandHelp().find(name), std::string_view::npos) << name;
  }
}

}  // namespace
}  // namespace vesk::agent::VESK_FILE
