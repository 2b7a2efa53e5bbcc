#include <string>

#include "support/InjectorFixture.h"

namespace vesk::testing::VESK_FILE {
namespace {

using InputInjectorKeyTest = InjectorTest;
using InputInjectorTextTest = InjectorTest;
using Lines = std::vector<std::string>;

TEST_F(InputInjectorKeyTest, PressesAndReleasesByPosition) {
  EXPECT_EQ(send(R"({"t":"k","c":65,"e":"down"})"), Posted{keyDown(0x00)});
  EXPECT_EQ(send(R"({"t":"k","c":65,"e":"up"})"), Posted{keyUp(0x00)});
}

TEST_F(InputInjectorKeyTest, PressesAHeldKeyAgain) {
  send(R"({"t":"k","c":65,"e":"down"})");
  EXPECT_EQ(send(R"({"t":"k","c":65,"e":"down"})"), Posted{keyDown(0x00)});
}

TEST_F(InputInjectorKeyTest, TakesAnythingButDownForARelease) {
  for (const auto* rest : {"", R"(,"e":"up")", R"(,"e":"Down")", R"(,"e":1)", R"(,"e":"")"}) {
    EXPECT_EQ(send(R"({"t":"k","c":65)" + std::string(rest) + "}"), Posted{keyUp(0x00)}) << rest;
  }
}

TEST_F(InputInjectorKeyTest, TellsTheEnterKeysApart) {
  EXPECT_EQ(send(R"({"t":"k","c":13,"e":"down","x":true})"), Posted{keyDown(0x4C)});
  EXPECT_EQ(send(R"({"t":"k","c":13,"e":"down","x":1})"), Posted{keyDown(0x4C)});
  for (const auto* rest : {"", R"(,"x":false)", R"(,"x":0)", R"(,"x":2)", R"(,"x":"true")",
                           R"(,"x":0.5)", R"(,"x":null)"}) {
    EXPECT_EQ(send(R"({"t":"k","c":13,"e":"down")" + std::string(rest) + "}"),
              Posted{keyDown(0x24)})
        << rest;
  }
}

TEST_F(InputInjectorKeyTest, LogsAKeyThatTheMacLacksAndDoesNothingElse) {
  EXPECT_EQ(send(R"({"t":"k","c":19,"e":"down","m":1})"), Posted{});
  EXPECT_EQ(send(R"({"t":"k","e":"down"})"), Posted{});
  EXPECT_EQ(send(R"({"t":"k","c":-5})"), Posted{});
  EXPECT_EQ(send(R"({"t":"k","c":65.5})"), Posted{});
  EXPECT_EQ(send(R"({"t":"k","c":"A"})"), Posted{});
  EXPECT_EQ(send(R"({"t":"k","c":true})"), Posted{});
  EXPECT_EQ(send(R"({"t":"k","c":9223372036854775807})"), Posted{});
  EXPECT_EQ(log_.messages(),
            (Lines{"No Mac key for virtual key 19.", "No Mac key for virtual key 0.",
                   "No Mac key for virtual key -5.", "No Mac key for virtual key 0.",
                   "No Mac key for virtual key 0.", "No Mac key for virtual key 1.",
                   "No Mac key for virtual key 9223372036854775807."}));
  EXPECT_EQ(releaseAll(), Posted{});
}

TEST_F(InputInjectorKeyTest, SetsAndClearsTheFlagOfAModifier) {
  EXPECT_EQ(send(R"({"t":"k","c":162,"e":"down"})"),
            Posted{modifierDown(0x3B, eventFlag::control)});
  EXPECT_EQ(send(R"({"t":"k","c":160,"e":"down"})"),
            Posted{modifierDown(0x38, eventFlag::control | eventFlag::shift)});
  EXPECT_EQ(send(R"({"t":"k","c":162,"e":"up"})"), Posted{modifierUp(0x3B, eventFlag::shift)});
  EXPECT_EQ(send(R"({"t":"k","c":160,"e":"up"})"), Posted{modifierUp(0x38, 0)});
  EXPECT_EQ(log_.messages(), Lines{});
}

TEST_F(InputInjectorKeyTest, ClearsAFlagThatIsNotSet) {
  EXPECT_EQ(send(R"({"t":"k","c":160,"e":"up"})"), Posted{modifierUp(0x38, 0)});
}

TEST_F(InputInjectorKeyTest, StampsTheModifiersOnOrdinaryKeys) {
  send(R"({"t":"k","c":160,"e":"down","m":1})");
  EXPECT_EQ(send(R"({"t":"k","c":65,"e":"down","m":1})"), Posted{keyDown(0x00, eventFlag::shift)});
  EXPECT_EQ(send(R"({"t":"k","c":65,"e":"up","m":1})"), Posted{keyUp(0x00, eventFlag::shift)});
}

TEST_F(InputInjectorKeyTest, ClearsTheSharedFlagWithEitherKeyOfAPair) {
  send(R"({"t":"k","c":160,"e":"down"})");
  EXPECT_EQ(send(R"({"t":"k","c":161,"e":"down"})"), Posted{modifierDown(0x3C, eventFlag::shift)});
  EXPECT_EQ(send(R"({"t":"k","c":161,"e":"up"})"), Posted{modifierUp(0x3C, 0)});
  EXPECT_EQ(send(R"({"t":"k","c":65,"e":"down"})"), Posted{keyDown(0x00)});
}

TEST_F(InputInjectorKeyTest, HoldsCapsLockLikeAModifier) {
  EXPECT_EQ(send(R"({"t":"k","c":20,"e":"down"})"),
            Posted{modifierDown(0x39, eventFlag::alphaShift)});
  EXPECT_EQ(send(R"({"t":"k","c":65,"e":"down","m":0})"),
            Posted{keyDown(0x00, eventFlag::alphaShift)});
  EXPECT_EQ(send(R"({"t":"k","c":20,"e":"up"})"), Posted{modifierUp(0x39, 0)});
}

TEST_F(InputInjectorKeyTest, ReconcilesBeforeAnOrdinaryKey) {
  send(R"({"t":"k","c":162,"e":"down"})");
  EXPECT_EQ(send(R"({"t":"k","c":65,"e":"down","m":0})"), (Posted{flagsChange(0), keyDown(0x00)}));
  EXPECT_EQ(send(R"({"t":"k","c":65,"e":"up","m":8})"),
            (Posted{flagsChange(eventFlag::command), keyUp(0x00, eventFlag::command)}));
}

TEST_F(InputInjectorKeyTest, ReconcilesAfterAModifier) {
  EXPECT_EQ(send(R"({"t":"k","c":160,"e":"down","m":0})"),
            (Posted{modifierDown(0x38, eventFlag::shift), flagsChange(0)}));
  EXPECT_EQ(log_.messages(),
            Lines{"Releasing modifiers the viewer is no longer holding (131072)."});
  send(R"({"t":"k","c":160,"e":"down","m":1})");
  EXPECT_EQ(send(R"({"t":"k","c":160,"e":"up","m":1})"),
            (Posted{modifierUp(0x38, 0), flagsChange(eventFlag::shift)}));
  EXPECT_EQ(log_.messages().size(), 1U);
}

KeyboardEvent typed(std::u16string units, bool down) {
  return {.keyCode = 0,
          .down = down,
          .type = down ? EventType::keyDown : EventType::keyUp,
          .flags = 0,
          .unicode = std::move(units)};
}

TEST_F(InputInjectorTextTest, TypesInPairsOfEvents) {
  EXPECT_EQ(send(R"({"t":"u","s":"Grüße"})"),
            (Posted{typed(u"Gr\u00fc\u00dfe", true), typed(u"Gr\u00fc\u00dfe", false)}));
}

TEST_F(InputInjectorTextTest, CutsFortyCharactersInThree) {
  const std::u16string first(16, u'a');
  const std::u16string last(8, u'a');
  EXPECT_EQ(send(R"({"t":"u","s":")" + std::string(40, 'a') + "\"}"),
            (Posted{typed(first, true), typed(first, false), typed(first, true),
                    typed(first, false), typed(last, true), typed(last, false)}));
}

TEST_F(InputInjectorTextTest, TypesTheFirst512Characters) {
  const auto posted = send(R"({"t":"u","s":")" + std::string(600, 'a') + "\"}");
  EXPECT_EQ(posted.size(), 2U * 512 / 16);
}

TEST_F(InputInjectorTextTest, SendsTheHalvesOfAPairInTwoEventsAtACut) {
  const auto posted = send(R"({"t":"u","s":"123456789012345😀"})");
  ASSERT_EQ(posted.size(), 4U);
  EXPECT_EQ(posted[1], fakes::PostedEvent(typed(u"123456789012345\xd83d", false)));
  EXPECT_EQ(posted[2], fakes::PostedEvent(typed(u"\xde00", true)));
}

TEST_F(InputInjectorTextTest, TypesNothingWithoutText) {
  for (const auto* message :
       {R"({"t":"u"})", R"({"t":"u","s":""})", R"({"t":"u","s":5})", R"({"t":"u","s":null})",
        R"({"t":"u","s":["a"]})", R"({"t":"u","s":"\ud800"})"}) {
    EXPECT_EQ(send(message), Posted{}) << message;
  }
}

TEST_F(InputInjectorTextTest, LeavesWhatIsHeldAlone) {
  send(R"({"t":"k","c":160,"e":"down"})");
  EXPECT_EQ(send(R"({"t":"u","s":"a","m":0})"), (Posted{typed(u"a", true), typed(u"a", false)}));
  EXPECT_EQ(send(R"({"t":"k","c":65,"e":"down"})"), Posted{keyDown(0x00, eventFlag::shift)});
  EXPECT_EQ(releaseAll(), (Posted{keyUp(0x00, std::nullopt), flagsChange(0)}));
}

}  // namespace
}  // namespace vesk::testing::VESK_FILE
