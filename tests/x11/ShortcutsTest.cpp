#include <gtest/gtest.h>

#include "x11/Receivers.h"
#include "x11/Session.h"

namespace vesk::testing::VESK_FILE {
namespace {

constexpr int left = 37;
constexpr int end = 35;
constexpr int enter = 13;
constexpr int f4 = 115;
constexpr int shift = 1;
constexpr int control = 2;
constexpr int alt = 4;
constexpr int super = 8;

class ShortcutsTest : public ::testing::Test {
 protected:
  /// Clicks at the pace of a quick hand: programs take presses of the same millisecond for one.
  void click(int times, Point at) {
    for (int i = 0; i < times; ++i) {
      hands_.clock.sleep(std::chrono::milliseconds(40));
      hands_.button(0, true, at.x / 1920, at.y / 1080);
      hands_.clock.sleep(std::chrono::milliseconds(20));
      hands_.button(0, false, at.x / 1920, at.y / 1080);
    }
  }

  Session session_{Session::Windows::managed};
  Hands hands_;
};

TEST_F(ShortcutsTest, SelectAndReplaceInQt) {
  const auto entry = startQtEntry(session_);
  hands_.text("one two three");
  hands_.strike(left, shift | control);
  EXPECT_EQ(entry->waitForSelection("three"), "three");
  hands_.text("3");
  EXPECT_EQ(entry->waitFor("one two 3"), "one two 3");
  hands_.strike('A', control);
  EXPECT_EQ(entry->waitForSelection("one two 3"), "one two 3");
  hands_.strike('X', control);
  EXPECT_EQ(entry->waitFor(""), "");
  hands_.strike('V', control);
  EXPECT_EQ(entry->waitFor("one two 3"), "one two 3");
}

TEST_F(ShortcutsTest, SelectAndReplaceInGtk) {
  const auto entry = startZenity(session_);
  hands_.text("one two three");
  hands_.strike(left, shift | control);
  hands_.text("3");
  hands_.strike('A', control);
  hands_.strike('C', control);
  hands_.strike(end, 0);
  hands_.strike('V', control);
  hands_.strike(enter, 0);
  EXPECT_EQ(entry->waitFor("one two 3one two 3\n"), "one two 3one two 3\n");
}

TEST_F(ShortcutsTest, SelectAndReplaceInChromium) {
  const auto chromium = startChromium(session_);
  hands_.text("one two three");
  hands_.strike(left, shift | control);
  EXPECT_EQ(chromium->waitForSelection("three"), "three");
  hands_.strike('A', control);
  EXPECT_EQ(chromium->waitForSelection("one two three"), "one two three");
  hands_.text("x");
  EXPECT_EQ(chromium->waitFor("x"), "x");
}

TEST_F(ShortcutsTest, EndInputInXterm) {
  const auto xterm = startXterm(session_);
  hands_.text("one");
  hands_.strike('U', control);  // erases the line
  hands_.text("two\n");
  EXPECT_EQ(xterm->waitFor("two\n"), "two\n");
}

TEST_F(ShortcutsTest, CloseAWindowOfTheWindowManagers) {
  const auto entry = startQtEntry(session_);
  hands_.strike(f4, alt);
  hands_.key(164, false, 0);
  EXPECT_TRUE(eventually([&] { return entry->hasEnded(); }));
  EXPECT_EQ(session_.keysDown(), std::vector<int>{});
}

TEST_F(ShortcutsTest, ShowTheDesktopWithTheSuperKey) {
  const auto entry = startQtEntry(session_);
  const auto showing = [this] {
    const std::string value = session_.text(session_.connection().root(), "_NET_SHOWING_DESKTOP");
    return !value.empty() && value[0] == 1;
  };
  ASSERT_FALSE(showing());
  hands_.key(91, true, super);
  hands_.strike('D', super);
  hands_.key(91, false, 0);
  EXPECT_TRUE(eventually(showing));
}

TEST_F(ShortcutsTest, ClicksSelectAWordAndALineInQt) {
  const auto entry = startQtEntry(session_);
  hands_.text("one two three");
  ASSERT_EQ(entry->waitFor("one two three"), "one two three");
  const Point at = entry->place({15, 30});
  click(2, at);
  EXPECT_EQ(entry->waitForSelection("one"), "one");
  hands_.clock.sleep(std::chrono::milliseconds(700));  // the end of that series
  click(3, at);
  EXPECT_EQ(entry->waitForSelection("one two three"), "one two three");
}

TEST_F(ShortcutsTest, ClicksSelectAWordAndALineInChromium) {
  const auto chromium = startChromium(session_);
  hands_.text("one two three");
  ASSERT_EQ(chromium->waitFor("one two three"), "one two three");
  const Point at = chromium->place({25, 25});
  click(2, at);
  EXPECT_EQ(chromium->waitForSelection("one"), "one");
  hands_.clock.sleep(std::chrono::milliseconds(700));  // the end of that series
  click(3, at);
  EXPECT_EQ(chromium->waitForSelection("one two three"), "one two three");
}

TEST_F(ShortcutsTest, ADragSelectsInQtAndInChromium) {
  for (const bool qt : {true, false}) {
    const auto receiver = qt ? startQtEntry(session_) : startChromium(session_);
    hands_.text("one two three");
    ASSERT_EQ(receiver->waitFor("one two three"), "one two three");
    const Point from = receiver->place({qt ? 4.0 : 12.0, 30});
    const Point to = receiver->place({500, 30});
    hands_.button(0, true, from.x / 1920, from.y / 1080);
    for (double step = 0; step <= 1; step += 0.1) {
      const double x = from.x + (to.x - from.x) * step;
      hands_.move(x / 1920, from.y / 1080);
    }
    hands_.button(0, false, to.x / 1920, to.y / 1080);
    EXPECT_EQ(receiver->waitForSelection("one two three"), "one two three");
  }
}

TEST_F(ShortcutsTest, TheWheelScrollsInChromium) {
  const auto chromium = startChromium(session_);
  hands_.text("a\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\nz");
  const auto scrolledTo = [&] { return std::atoi(chromium->scroll().c_str()); };
  // A title makes one space of all the line ends. The last of them scrolls the field once more.
  ASSERT_EQ(chromium->waitFor("a z"), "a z");
  ASSERT_TRUE(eventually([&] { return scrolledTo() > 500; }));
  const int before = scrolledTo();
  const Point at = chromium->place({100, 100});
  hands_.move(at.x / 1920, at.y / 1080);
  hands_.send(R"({"t":"m","e":"wheel","d":120,"m":0})");
  EXPECT_TRUE(eventually([&] { return scrolledTo() < before; }));
}

}  // namespace
}  // namespace vesk::testing::VESK_FILE
