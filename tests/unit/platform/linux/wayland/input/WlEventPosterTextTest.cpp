#include <csignal>
#include <functional>
#include <numeric>

#include "platform/linux/wayland/input/TextKeymap.h"
#include "unit/platform/linux/wayland/input/PosterFixture.h"

namespace vesk::wayland::input::VESK_FILE {
namespace {

/// So many different characters of Chinese, in UTF-16 and in UTF-8.
std::u16string manyCharacters(std::size_t count) {
  std::u16string characters(count, u'\0');
  std::iota(characters.begin(), characters.end(), char16_t{0x4E00});
  return characters;
}

std::string utf8(const std::u16string& characters) {
  std::string bytes;
  for (const char16_t c : characters) {
    bytes += static_cast<char>(0xE0 | (c >> 12));
    bytes += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    bytes += static_cast<char>(0x80 | (c & 0x3F));
  }
  return bytes;
}

class WlEventPosterTextTest : public PosterFixture {
 protected:
  void SetUp() override { beHeardBy(window); }

  /// In as many events as a long text comes in: twenty characters each.
  std::u16string typeRuns(int count) {
    std::u16string text;
    for (int i = 0; i < count; ++i) {
      type(manyCharacters(20));
      text += manyCharacters(20);
    }
    return text;
  }

  bool hasArrived(const std::string& text) const {
    return window.waitFor(
        [&](const testing::WlSeen& seen) { return seen.text == text && seen.keys.empty(); });
  }

  testing::WlWindow window;
};

TEST_F(WlEventPosterTextTest, TypesWhatNoLayoutHas) {
  type(u"äZ€中😀 ok\n");
  EXPECT_TRUE(hasArrived("äZ€中😀 ok\r")) << window.seen().text;
}

TEST_F(WlEventPosterTextTest, TypesManyDifferentCharactersAtOnce) {
  type(manyCharacters(168));
  EXPECT_TRUE(hasArrived(utf8(manyCharacters(168)))) << window.seen().text;
}

TEST_F(WlEventPosterTextTest, TypesMoreDifferentCharactersThanThereAreKeys) {
  const auto text = manyCharacters(600);
  ASSERT_GT(text.size(), 5 * TextKeymap::capacity());
  type(text + text.substr(0, 10));
  EXPECT_TRUE(hasArrived(utf8(text + text.substr(0, 10)))) << window.seen().text;
}

// The compositor ends the connection of a program that leaves too much unread.
TEST_F(WlEventPosterTextTest, EndsNoProgramThatReadsNothingForAWhile) {
  window.hang();
  const auto text = typeRuns(50);
  sway.ask("get_inputs");
  window.goOn();
  EXPECT_TRUE(hasArrived(utf8(text))) << window.seen().text.size();
}

/// Tells of each time that it is asked, which whoever waits at the gate does.
class ToldClock final : public SystemClock {
 public:
  HostTime hostTime() const override {
    if (onAsked) onAsked();
    return SystemClock::hostTime();
  }

  std::function<void()> onAsked;
};

class WlEventPosterHeldUpTest : public WlEventPosterTextTest {
 protected:
  WlEventPosterHeldUpTest() { poster.emplace(toldGate, watched); }
  ~WlEventPosterHeldUpTest() override { poster.reset(); }

  ToldClock told;
  InputGate toldGate{told};
};

TEST_F(WlEventPosterHeldUpTest, LosesNothingToACompositorThatIsHeldUpMeanwhile) {
  type(u"a");
  std::size_t waits = 0;
  told.onAsked = [&] {
    if (++waits == 5) ::kill(sway.pid(), SIGCONT);
  };
  ::kill(sway.pid(), SIGSTOP);
  // More than what the socket takes meanwhile.
  const auto text = typeRuns(120);
  ::kill(sway.pid(), SIGCONT);
  strike(0x00);
  EXPECT_GE(waits, 5U);
  EXPECT_TRUE(hasArrived("a" + utf8(text) + "a")) << window.seen().text.size();
}

TEST_F(WlEventPosterTextTest, JoinsPairsThatAreSplitOverEvents) {
  const std::u16string smile = u"😀";
  type(u"a" + smile.substr(0, 1));
  type(smile.substr(1) + u"b");
  EXPECT_TRUE(hasArrived("a😀b")) << window.seen().text;
}

TEST_F(WlEventPosterTextTest, LeavesControlCharactersOut) {
  type(u"a\x01\x02\u0085z\t\b\x1B\x7F");
  EXPECT_TRUE(hasArrived("az\t\b\x1B\x7F")) << window.seen().text;
}

TEST_F(WlEventPosterTextTest, UsesTheKeysThatReturnAndTabHaveEverywhere) {
  type(u"\t\n");
  ASSERT_TRUE(hasArrived("\t\r"));
  EXPECT_EQ(window.seen().count("key 15 down"), 1U);
  EXPECT_EQ(window.seen().count("key 28 down"), 1U);
}

TEST_F(WlEventPosterTextTest, LeavesNoModifierInEffectMeanwhile) {
  modifiers(0x38, true, eventFlag::shift | eventFlag::alphaShift);
  press(0x00, eventFlag::shift | eventFlag::alphaShift);
  window.forget();
  type(u"aß");
  EXPECT_TRUE(window.waitFor([](const auto& seen) { return seen.text.ends_with("aß"); }))
      << window.seen().text;
  EXPECT_EQ(window.seen().modifiers, "0 0 0 0");
  EXPECT_TRUE(window.waitFor([](const auto& seen) { return seen.keys.empty(); }));
}

TEST_F(WlEventPosterTextTest, GoesBackToThePersonsKeysAfterwards) {
  type(u"ä");
  strike(0x00, eventFlag::shift);
  EXPECT_TRUE(window.waitFor([](const auto& seen) { return seen.text == "äA"; }));
  type(u"ö");
  EXPECT_TRUE(hasArrived("äAö")) << window.seen().text;
  EXPECT_EQ(window.seen().modifiers, "0 0 0 0");
}

TEST_F(WlEventPosterTextTest, EndsInTheMiddleWhenTheGateIsShut) {
  std::jthread person([&] {
    window.waitFor([](const auto& seen) { return seen.text.size() > 30; });
    gate.close();
  });
  const auto text = manyCharacters(600);
  for (int i = 0; i < 200; ++i) type(text);
  person.join();
  type(u"no");
  poster.reset();
  // The compositor has carried out all that was on its way then.
  ASSERT_TRUE(testing::waitUntil([&] { return devices() == 0; }));
  window.settle();
  const auto seen = window.seen();
  EXPECT_LT(seen.text.size(), 200 * utf8(text).size());
  EXPECT_FALSE(seen.text.ends_with("no"));
  EXPECT_TRUE(seen.keys.empty());
}

TEST_F(WlEventPosterTextTest, ForgetsAHalfOfAPairAtAKey) {
  const std::u16string smile = u"😀";
  type(u"a" + smile.substr(0, 1));
  strike(0x0B);
  type(smile.substr(1) + u"c");
  EXPECT_TRUE(hasArrived("abc")) << window.seen().text;
}

}  // namespace
}  // namespace vesk::wayland::input::VESK_FILE
