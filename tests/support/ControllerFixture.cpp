#include "support/ControllerFixture.h"

#include <thread>
#include <utility>

namespace vesk::testing {
namespace {

template <typename Made, typename Interface, typename... Arguments>
std::unique_ptr<Interface> remembered(Made*& pointer, Arguments&&... arguments) {
  auto made = std::make_unique<Made>(std::forward<Arguments>(arguments)...);
  pointer = made.get();
  return made;
}

}  // namespace

ControllerFixture::ControllerFixture()
    : fakes_(remembered<LinkQueues, Queues>(linkQueues_, manual_),
             remembered<SteppedClock, Clock>(clock_, time_)) {
  processes_.variables["XPC_SERVICE_NAME"] = "com.vesk.tovarin.screen";
  fakes_.desktop.theDisplays.main = 7;
  fakes_.desktop.theDisplays.boundsOf[7] = {{0, 0}, 1920, 1080};
  fakes_.desktop.theDisplays.pixelsOf[7] = {1920, 1080};
  screen_.content.displays = {{7, 1920, 1080}};
  fakes_.overlays.screenList = {{7, {{0, 0}, 1920, 1080}}};
  controller_ =
      std::make_shared<Controller>(fakes_.platform, (folder_.path() / "agent.sock").string());
}

ControllerFixture::~ControllerFixture() {
  clock_->end();
  peer_.reset();
  listener_.reset();
  controller_.reset();
  // What the end of the connection leaves to do holds the controller, and that the link's loop.
  bool joined = false;
  std::thread joiner([&] {
    linkQueues_->join();
    manual_.main().async([&] { joined = true; });
  });
  while (!joined) manual_.waitAndRun();
  joiner.join();
}

Message ControllerFixture::connect() {
  listener_.emplace(folder_.path() / "agent.sock");
  launch();
  peer_.emplace(listener_->accept());
  return heard();
}

void ControllerFixture::tell(std::string_view json) {
  peer_->write(frameBytes(FrameKind::control, textBytes(json)));
  ASSERT_TRUE(manual_.waitForMainTasks(1)) << json;
  manual_.run();
}

void ControllerFixture::input(std::string_view json) {
  peer_->write(frameBytes(FrameKind::input, textBytes(json)));
  ASSERT_TRUE(manual_.waitAndRun()) << json;
}

void ControllerFixture::tellTogether(const std::vector<std::string>& messages) {
  for (const auto& json : messages) {
    peer_->write(frameBytes(FrameKind::control, textBytes(json)));
  }
  ASSERT_TRUE(manual_.waitForMainTasks(messages.size()));
  manual_.run();
}

void ControllerFixture::sendInput(std::string_view json) {
  peer_->write(frameBytes(FrameKind::input, textBytes(json)));
}

void ControllerFixture::replaceAgent() {
  peer_->close();
  clock_->waitForSleep();
  clock_->wake();
  peer_.emplace(listener_->accept());
  EXPECT_EQ(heard().string("op"), "hello");
}

std::string ControllerFixture::heardText() {
  const auto frame = peer_->readFrame();
  if (!frame) throw std::runtime_error("the program has closed the connection");
  return {reinterpret_cast<const char*>(frame->payload.data()), frame->payload.size()};
}

Message ControllerFixture::heard() { return Message::parse(textBytes(heardText())).value(); }

void ControllerFixture::settle() { tell(R"({"op":"nothing"})"); }

}  // namespace vesk::testing
