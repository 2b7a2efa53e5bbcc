#include <gtest/gtest.h>

#include "x11/EventRecorder.h"
#include "x11/Receivers.h"
#include "x11/Session.h"

namespace vesk::testing {
namespace {

constexpr int enter = 13;

const std::string mixed = "Hello, Wörld! Grüße @€{}[]|~\\ 日本語 😀🎉 Ωλδ Жыд ł";

/// `characters` characters from as many scripts as there are.
std::string longText(int characters) {
  const std::vector<std::string> alphabet{"a",  "B",  "7",  "é", "ß", "Ж",  "я", "Ω", "λ", "日",
                                          "本", "語", "漢", "😀", "🎉", "字", "ł", "ő", " ", "?"};
  std::string text;
  for (int i = 0; i < characters; ++i)
    text += alphabet[static_cast<std::size_t>(i * 7 + i / 20) % alphabet.size()];
  return text;
}

class ReceiverTest : public ::testing::Test {
 protected:
  Session session_{Session::Windows::managed};
};

TEST_F(ReceiverTest, Xterm) {
  const auto xterm = startXterm(session_);
  Hands hands;
  std::string expected;
  for (const auto& layout : {"us", "de", "fr", "ru", "jp"}) {
    session_.setLayout({layout});
    hands.text(mixed + "\n");
    expected += mixed + "\n";
    EXPECT_EQ(xterm->waitFor(expected), expected) << layout;
  }
  hands.text(longText(511) + "\n");
  EXPECT_EQ(xterm->waitFor(expected + longText(511) + "\n"), expected + longText(511) + "\n");
}

TEST_F(ReceiverTest, QtEntry) {
  const auto entry = startQtEntry(session_);
  Hands hands;
  std::string expected;
  for (const auto& layout : {"us", "de", "fr", "ru", "jp"}) {
    session_.setLayout({layout});
    hands.text(mixed);
    expected += mixed;
    EXPECT_EQ(entry->waitFor(expected), expected) << layout;
  }
  hands.text(longText(512));
  EXPECT_EQ(entry->waitFor(expected + longText(512)), expected + longText(512));
}

TEST_F(ReceiverTest, Zenity) {
  for (const auto& layout : {"us", "de", "fr", "ru", "jp"}) {
    session_.setLayout({layout});
    const auto entry = startZenity(session_);
    Hands hands;
    const std::string text = mixed + longText(400);
    hands.text(text);
    hands.strike(enter);
    EXPECT_EQ(entry->waitFor(text + "\n"), text + "\n") << layout;
  }
}

TEST_F(ReceiverTest, Chromium) {
  const auto chromium = startChromium(session_);
  Hands hands;
  std::string expected;
  for (const auto& layout : {"us", "de", "fr", "ru", "jp"}) {
    session_.setLayout({layout});
    hands.text(mixed);
    expected += mixed;
    EXPECT_EQ(chromium->waitFor(expected), expected) << layout;
  }
  hands.text(longText(512));
  EXPECT_EQ(chromium->waitFor(expected + longText(512)), expected + longText(512));
}

}  // namespace
}  // namespace vesk::testing
