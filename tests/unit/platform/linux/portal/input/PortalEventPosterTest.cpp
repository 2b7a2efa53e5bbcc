#include <algorithm>
#include <tuple>

#include "unit/platform/linux/portal/input/PosterFixture.h"
#include "unit/platform/linux/portal/session/AskedDesktop.h"

namespace vesk::portal::input::VESK_FILE {
namespace {

class PortalEventPosterTest : public PosterFixtureOn<session::AskedDesktop> {};

TEST_F(PortalEventPosterTest, PointsPressesAndTurnsTheWheel) {
  EXPECT_EQ(poster.pointerLocation(), std::nullopt);
  move({400.5, 300});
  EXPECT_TRUE(window->waitFor([](const auto& seen) { return seen.pointer == Point{400.5, 300}; }));
  EXPECT_EQ(poster.pointerLocation(), (Point{400.5, 300}));
  for (const auto& [down, up, button, code] :
       {std::tuple{EventType::leftMouseDown, EventType::leftMouseUp, MouseButton::left, 272},
        std::tuple{EventType::rightMouseDown, EventType::rightMouseUp, MouseButton::right, 273},
        std::tuple{EventType::otherMouseDown, EventType::otherMouseUp, MouseButton::center, 274}}) {
    mouse(down, {10, 20}, button);
    mouse(up, {30, 20}, button);
    const std::string line = "button " + std::to_string(code);
    EXPECT_TRUE(window->waitFor([&](const auto& seen) { return seen.count(line + " up") == 1; }));
    EXPECT_EQ(window->seen().count(line + " down"), 1U);
  }
  poster.post(ScrollEvent{.lines = 6});
  poster.post(ScrollEvent{.lines = -3});
  EXPECT_TRUE(window->waitFor([](const auto& seen) {
    return seen.count("discrete vertical -1") == 2 && seen.count("discrete vertical 1") == 1;
  }));
}

TEST_F(PortalEventPosterTest, PointsNowhereElse) {
  move({-50, 5000});
  EXPECT_TRUE(window->waitFor([](const auto& seen) { return seen.pointer.x == 0; }));
  EXPECT_GT(window->seen().pointer.y, 1079);
  EXPECT_LT(window->seen().pointer.y, 1080);
}

TEST_F(PortalEventPosterTest, LosesNotEvenTheFirstKey) {
  strike(0x00);
  EXPECT_TRUE(hasTyped("a"));
}

TEST_F(PortalEventPosterTest, KeepsTheOrderOfEverything) {
  strike(0x00);
  ASSERT_TRUE(hasTyped("a"));
  window->forget();
  std::string expected;
  for (int i = 0; i < 300; ++i) {
    strike(0x00);
    strike(0x0B, eventFlag::shift);
    strike(0x08);
    expected += "aBc";
  }
  EXPECT_TRUE(hasTyped(expected)) << window->seen().text;
}

TEST_F(PortalEventPosterTest, MakesModifiersTrue) {
  modifiers(0x38, true, eventFlag::shift);
  strike(0x00, eventFlag::shift);
  modifiers(0x38, false, 0);
  strike(0x00);
  strike(0x00, eventFlag::alphaShift);
  strike(0x00, eventFlag::alphaShift | eventFlag::shift);
  strike(0x12, eventFlag::alphaShift);
  EXPECT_TRUE(hasTyped("AaAa1")) << window->seen().text;
  EXPECT_TRUE(isFree());
  mouse(EventType::leftMouseDown, {5, 5}, MouseButton::left, eventFlag::control);
  EXPECT_TRUE(window->waitFor(
      [](const auto& seen) { return seen.modifiers == "4 0 0 0" && seen.buttons.size() == 1; }));
  mouse(EventType::leftMouseUp, {5, 5}, MouseButton::left, 0);
  EXPECT_TRUE(isFree());
}

TEST_F(PortalEventPosterTest, TypesDigitsOnTheKeypadWhateverNumLockSays) {
  for (const KeyCode digit : std::initializer_list<KeyCode>{0x53, 0x54, 0x5C, 0x41}) strike(digit);
  EXPECT_TRUE(hasTyped("129.")) << window->seen().text;
}

TEST_F(PortalEventPosterTest, TypesWhatTheLayoutHasAndCountsWhatItLacks) {
  type(u"Hello, World! ~{}\tä中");
  type(u"😀.\n");
  EXPECT_TRUE(window->waitFor([](const auto& seen) { return seen.text.ends_with("\r"); }));
  EXPECT_EQ(window->seen().text, "Hello, World! ~{}\t.\r");
  EXPECT_TRUE(lacking.empty());
  endInput();
  EXPECT_EQ(lacking, std::vector<std::size_t>{3});
  endInput();
  EXPECT_EQ(lacking.size(), 1U) << "told once";
}

/// However long it takes: on a busy machine a stroke takes several milliseconds.
TEST_F(PortalEventPosterTest, TypesALongTextWhole) {
  std::u16string text;
  for (int i = 0; i < 6000; ++i) text += static_cast<char16_t>(u'a' + i % 26);
  for (std::size_t i = 0; i < text.size(); i += 20) type(text.substr(i, 20));
  for (std::size_t before = 0; before < text.size(); before = window->seen().text.size()) {
    ASSERT_TRUE(window->waitFor([&](const auto& seen) { return seen.text.size() > before; }))
        << "no more than " << before << " characters have come";
  }
  EXPECT_EQ(window->seen().text, std::string(text.begin(), text.end()));
}

}  // namespace
}  // namespace vesk::portal::input::VESK_FILE
