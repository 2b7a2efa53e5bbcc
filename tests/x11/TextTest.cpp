#include <gtest/gtest.h>

#include "x11/EventRecorder.h"
#include "x11/Receivers.h"
#include "x11/Session.h"

namespace vesk::testing::VESK_FILE {
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
  /// The text of every script in every layout, and a long one; each ends as the receiver needs it.
  void expectTextOnEveryLayout(Receiver& receiver, const std::string& end = "") {
    Hands hands;
    std::string expected;
    const auto type = [&](const std::string& text, const std::string& layout) {
      hands.text(text);
      expected += text;
      EXPECT_EQ(receiver.waitFor(expected), expected) << layout;
    };
    for (const auto& layout : {"us", "de", "fr", "ru", "jp"}) {
      session_.setLayout({layout});
      type(mixed + end, layout);
    }
    type(longText(512 - static_cast<int>(end.size())) + end, "jp");
  }

  Session session_{Session::Windows::managed};
};

TEST_F(ReceiverTest, Xterm) { expectTextOnEveryLayout(*startXterm(session_), "\n"); }

TEST_F(ReceiverTest, QtEntry) { expectTextOnEveryLayout(*startQtEntry(session_)); }

TEST_F(ReceiverTest, Chromium) { expectTextOnEveryLayout(*startChromium(session_)); }

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

}  // namespace
}  // namespace vesk::testing::VESK_FILE
