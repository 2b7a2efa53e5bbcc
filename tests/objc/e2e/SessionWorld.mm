#include "objc/e2e/SessionWorld.h"

#include <future>
#include <thread>

#include "link/Frame.h"
#include "objc/dispatch/MainLoop.h"
#include "objc/runtime/Runtime.h"
#include "support/Patience.h"

namespace vesk::testing {
namespace {

constexpr auto control = static_cast<std::uint8_t>(FrameKind::control);
constexpr auto video = static_cast<std::uint8_t>(FrameKind::video);

/// A Mac with one display, to which everything was granted.
void grantEverything() {
  auto& system = fakes::mac::system();
  system.bounds = {{0, 0}, {1920, 1080}};
  system.pixelsWide = 1920;
  system.pixelsHigh = 1080;
  system.mode = {1920, 1080};
  system.mayRecord = true;
  system.trusted = true;
  fakes::WindowServer::only().applications = {100, 200};
}

}  // namespace

SessionWorld& SessionWorld::only() {
  static SessionWorld& world = *new SessionWorld;
  return world;
}

SessionWorld::SessionWorld() : platform_(makePlatform()) {
  grantEverything();
  auto processes = std::make_unique<fakes::RecordingProcesses>();
  processes->variables["XPC_SERVICE_NAME"] = "com.vesk.tovarin.screen";
  processes_ = processes.get();
  platform_.processes = std::move(processes);
  const auto socket = (folder_.path() / "agent.sock").string();
  controller_ = std::make_shared<Controller>(platform_, socket);
  platform_.application->setActivationPolicy(ActivationPolicy::accessory);
  platform_.application->setDelegate(*controller_);
  fakes::soon([] { fakes::MainLoop::only().stop(); });
  platform_.application->run();
  peer_ = std::make_unique<UnixPeer>(listener_.accept());
  greeting = heard();
}

/// The main loop runs while another thread reads.
Frame SessionWorld::next() {
  auto read = std::async(std::launch::async, [this] { return peer_->readFrame(); });
  const auto& loop = fakes::MainLoop::only;
  std::thread waker([&] {
    read.wait();
    loop().wake();
  });
  const auto isRead = [&] {
    return read.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
  };
  while (!isRead()) loop().run(isRead);
  waker.join();
  return read.get().value();
}

std::string SessionWorld::heard() {
  for (;;) {
    const Frame frame = next();
    if (frame.kind != control) continue;
    return {reinterpret_cast<const char*>(frame.payload.data()), frame.payload.size()};
  }
}

std::vector<int> SessionWorld::units() {
  for (;;) {
    const Frame frame = next();
    if (frame.kind != video) continue;
    const auto& bytes = frame.payload;
    std::vector<int> types;
    for (std::size_t i = 4; i + 4 < bytes.size(); ++i) {
      const bool begins = bytes[i] == std::byte{0} && bytes[i + 1] == std::byte{0} &&
                          bytes[i + 2] == std::byte{0} && bytes[i + 3] == std::byte{1};
      if (begins) types.push_back(std::to_integer<int>(bytes[i + 4]) & 0x1f);
    }
    return types;
  }
}

void SessionWorld::tell(std::string_view json) {
  peer_->write(frameBytes(FrameKind::control, textBytes(json)));
}

void SessionWorld::input(std::string_view json) {
  peer_->write(frameBytes(FrameKind::input, textBytes(json)));
}

std::string SessionWorld::reconnect() {
  peer_->close();
  peer_ = std::make_unique<UnixPeer>(listener_.accept());
  return heard();
}

void SessionTestBase::SetUpTestSuite() {
  @autoreleasepool {
    SessionWorld::only();
  }
}

SessionTestBase::SessionTestBase() {
  grantEverything();
  idle_ = census();
}

/// What the program has yet to do it does before the next test: it counts on that.
SessionTestBase::~SessionTestBase() {
  EXPECT_TRUE(runUntil([] { return fakes::MainLoop::only().waiting() == 0; }));
  drainPool();
  EXPECT_EQ(leftBehind(), std::vector<std::string>{});
}

void SessionTestBase::begin(std::string_view request) {
  world_.tell(request);
  ASSERT_EQ(world_.heard(), starting);
  ASSERT_EQ(world_.heard(), started);
  fakes::WindowServer::deliver(stream(), {});
}

void SessionTestBase::end() {
  world_.tell(stop);
  ASSERT_TRUE(runUntil([this] { return server_.running().empty() && desk_.shown.empty(); }));
}

std::vector<std::string> SessionTestBase::leftBehind() {
  return leftBehind(std::chrono::milliseconds(patience()));
}

std::vector<std::string> SessionTestBase::leftBehind(std::chrono::milliseconds limit) {
  std::vector<std::string> found;
  runUntil(
      [&] {
        server_.settle();
        found.clear();
        for (const auto& [name, count] : census()) {
          const auto before = idle_.find(name);
          if (count > (before == idle_.end() ? 0 : before->second)) found.push_back(name);
        }
        return found.empty();
      },
      limit);
  return found;
}

}  // namespace vesk::testing
