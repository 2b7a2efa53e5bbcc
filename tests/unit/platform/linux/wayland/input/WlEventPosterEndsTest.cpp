#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <stdexcept>
#include <thread>

#include "unit/platform/linux/wayland/input/PersonsKeyboard.h"
#include "unit/platform/linux/wayland/input/PosterFixture.h"

namespace vesk::wayland::input::VESK_FILE {
namespace {

/// Another program's hands, which hold what they hold until it is killed. Made while this process
/// has one thread, so that no other one has anything that a copy of it would wait for.
class OtherHands {
 public:
  OtherHands() {
    if (::pipe(start_.data()) != 0) throw std::runtime_error("no pipe");
    program_ = ::fork();
    if (program_ == 0) hold();
  }
  ~OtherHands() {
    kill();
    ::close(start_[0]);
    ::close(start_[1]);
  }
  OtherHands(const OtherHands&) = delete;
  OtherHands& operator=(const OtherHands&) = delete;

  void press() { ASSERT_EQ(::write(start_[1], "", 1), 1); }

  void kill() {
    if (program_ <= 0) return;
    ::kill(program_, SIGKILL);
    ::waitpid(program_, nullptr, 0);
    program_ = -1;
  }

 private:
  [[noreturn]] void hold() const {
    ::close(start_[1]);
    char byte = 0;
    if (::read(start_[0], &byte, 1) != 1) ::_exit(1);
    const SystemClock clock;
    InputGate gate(clock);
    const stream::WatchedDisplay watched;
    WlEventPoster poster(gate, watched);
    poster.post(KeyboardEvent{
        .keyCode = 0x00, .down = true, .type = EventType::keyDown, .flags = eventFlag::shift});
    poster.post(MouseEvent{.type = EventType::leftMouseDown, .point = {100, 100}});
    while (true) ::pause();
  }

  std::array<int, 2> start_{};
  pid_t program_ = -1;
};

class WlEventPosterEndsTest : public PosterFixture {
 protected:
  void hold() {
    press(0x00, eventFlag::shift | eventFlag::alphaShift);
    mouse(EventType::leftMouseDown, {100, 100});
  }

  bool isHeld() const {
    return window.waitFor([](const auto& seen) {
      return seen.keys == std::set<std::uint32_t>{30, 42} && seen.buttons.size() == 1;
    });
  }

  bool isFree() const {
    return window.waitFor([](const auto& seen) {
      return seen.keys.empty() && seen.buttons.empty() && seen.modifiers == "0 0 0 0";
    });
  }

  void end() {
    gate.endBy(clock.hostTime());
    gate.ended();
  }

  OtherHands other;
  testing::WlWindow window;  // which has a thread
};

TEST_F(WlEventPosterEndsTest, LetsGoOfEverythingWhenTheGateCloses) {
  beHeardBy(window);
  hold();
  ASSERT_TRUE(isHeld());
  gate.close();
  EXPECT_TRUE(isFree());
  release(0x00);
  mouse(EventType::leftMouseUp, {100, 100});
  window.settle();
  EXPECT_EQ(window.seen().count("key 30 up"), 1U);
  EXPECT_EQ(window.seen().count("button 272 up"), 1U);
}

TEST_F(WlEventPosterEndsTest, LetsGoOfEverythingAtItsEnd) {
  beHeardBy(window);
  hold();
  ASSERT_TRUE(isHeld());
  poster.reset();
  EXPECT_TRUE(isFree());
  EXPECT_TRUE(testing::waitUntil([&] { return devices() == 0; }));
}

TEST_F(WlEventPosterEndsTest, HasDevicesFromTheFirstStrokeToTheEndOfInput) {
  EXPECT_EQ(devices(), 0U);
  release(0x00);
  mouse(EventType::leftMouseUp, {100, 100});
  modifiers(0x38, false, 0);
  EXPECT_EQ(devices(), 0U);
  beHeardBy(window);
  EXPECT_EQ(devices(), 2U);
  hold();
  ASSERT_TRUE(isHeld());
  end();
  EXPECT_TRUE(isFree());
  EXPECT_TRUE(testing::waitUntil([&] { return devices() == 0; }));
  EXPECT_EQ(poster->pointerLocation(), (Point{100, 100}));
  beHeardBy(window);
  hold();
  EXPECT_TRUE(isHeld()) << "they have come back";
  EXPECT_EQ(devices(), 2U);
}

TEST_F(WlEventPosterEndsTest, MakesNothingWhileTheGateIsShut) {
  gate.close();
  hold();
  type(u"x");
  poster->post(ScrollEvent{.lines = 3});
  EXPECT_EQ(devices(), 0U);
}

/// A person's mouse, which makes the compositor keep what other mice have pressed.
class PersonsMouse {
 public:
  PersonsMouse() {
    zwlr_virtual_pointer_v1_motion_absolute(pointer_.get(), 0, 10, 10, 1920, 1080);
    zwlr_virtual_pointer_v1_frame(pointer_.get());
    connection_.settle(server::Connection::Clock::now() + server::Connection::patience);
  }

 private:
  server::Connection connection_;
  server::Proxy<zwlr_virtual_pointer_manager_v1> manager_{
      connection_.bind<zwlr_virtual_pointer_manager_v1>(zwlr_virtual_pointer_manager_v1_interface,
                                                        1)};
  server::Proxy<zwlr_virtual_pointer_v1> pointer_{
      zwlr_virtual_pointer_manager_v1_create_virtual_pointer(manager_.get(), nullptr)};
};

TEST_F(WlEventPosterEndsTest, IsLetGoOfByItsSuccessorWhereItIsKilled) {
  const PersonsKeyboard keyboard("us");
  const PersonsMouse mouse;
  ASSERT_TRUE(window.waitFor([](const auto& seen) { return seen.hasFocus && seen.hasPointer; }));
  other.press();
  ASSERT_TRUE(isHeld());
  other.kill();
  EXPECT_TRUE(window.waitFor([](const auto& seen) { return seen.keys.empty(); }))
      << "the compositor's own doing";
  EXPECT_EQ(window.seen().buttons.size(), 1U) << "not so";
  poster.emplace(gate, watched);
  EXPECT_TRUE(isFree());
  EXPECT_TRUE(testing::waitUntil([&] { return devices() == 2; })) << "those of the person";
  window.forget();
  poster.reset();
  poster.emplace(gate, watched);
  EXPECT_EQ(devices(), 2U);
  window.settle();
  EXPECT_EQ(window.seen().count("button"), 0U) << "nothing is left to let go of";
}

TEST_F(WlEventPosterEndsTest, IsSilentOnceTheCompositorIsGone) {
  beHeardBy(window);
  hold();
  ASSERT_TRUE(isHeld());
  sway.kill();
  for (int i = 0; i < 3; ++i) {
    strike(0x00);
    move({5, 5});
    type(u"x");
  }
  gate.close();
  gate.open();
  end();
  strike(0x00);
}

TEST_F(WlEventPosterEndsTest, WaitsOnlyOnceForACompositorThatHasStopped) {
  move({5, 5});
  ::kill(sway.pid(), SIGSTOP);
  const auto begin = clock.hostTime();
  press(0x00);
  for (int i = 0; i < 100; ++i) type(u"Lorem ipsum dolor sit amet, consetetur sadipscing");
  for (int i = 0; i < 20000; ++i) move({5.0 + i % 1000, 5});
  release(0x00);
  gate.close();
  gate.open();
  const auto taken = clock.hostTime() - begin;
  ::kill(sway.pid(), SIGCONT);
  EXPECT_LT(taken, std::chrono::seconds(5));
  EXPECT_TRUE(testing::waitUntil([&] {
    move({700, 5});
    return window.seen().pointer == Point{700, 5};
  }));
  EXPECT_TRUE(isFree());
  window.forget();
  strike(0x00);
  EXPECT_TRUE(window.waitFor([](const auto& seen) { return seen.text == "a"; }));
}

}  // namespace
}  // namespace vesk::wayland::input::VESK_FILE
