#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "control/Controller.h"
#include "fakes/RecordingProcesses.h"
#include "objc/frameworks/AppKit.h"
#include "objc/frameworks/ScreenCaptureKit.h"
#include "objc/support/ObjcFixture.h"
#include "platform/Platform.h"
#include "support/TemporaryFolder.h"
#include "support/UnixListener.h"

namespace vesk::testing {

/// The whole program as it runs on a Mac, but for what it does to processes, and an agent at the
/// other end of a real socket. As there, it lives as long as the process: its link never ends.
///
/// Thread: main, which runs the main loop whenever it waits.
class SessionWorld {
 public:
  static SessionWorld& only();

  /// The next control message from the program, video left out; empty when none comes.
  std::string heard();

  /// The units of the next access unit, by their types.
  std::vector<int> units();

  void tell(std::string_view json);
  void input(std::string_view json);

  /// The agent goes and comes again; the greeting is returned.
  std::string reconnect();

  std::string greeting;

 private:
  SessionWorld();
  Frame next();

  TemporaryFolder folder_;
  UnixListener listener_{folder_.path() / "agent.sock"};
  Platform platform_;
  fakes::RecordingProcesses* processes_;
  std::shared_ptr<Controller> controller_;
  std::unique_ptr<UnixPeer> peer_;
};

/// Sessions in that world, each test's ended and looked over for what it left.
class SessionTestBase : public ObjcFixture {
 protected:
  /// Made before anything is counted.
  static void SetUpTestSuite();

  SessionTestBase();
  ~SessionTestBase() override;

  static constexpr auto start = R"({"op":"start","viewer":"Anna"})";
  static constexpr auto startWithConsent = R"({"op":"start","consent":true,"viewer":"Anna"})";
  static constexpr auto startWithInput = R"({"op":"start","input":true})";
  static constexpr auto stop = R"({"op":"stop"})";
  static constexpr auto starting = R"({"op":"state","state":"starting"})";
  static constexpr auto awaiting = R"({"op":"state","state":"awaiting-consent"})";
  static constexpr auto started =
      R"({"accessibility":true,"height":1080,"op":"started","width":1920})";
  static constexpr auto denied =
      R"({"message":"The person at the Mac did not allow it.","op":"denied"})";

  /// From the request to the first picture.
  void begin(std::string_view request = start);

  /// From the stop until nothing of the session is left.
  void end();

  /// The classes of which there are more than between two sessions; waits for other threads.
  std::vector<std::string> leftBehind();
  std::vector<std::string> leftBehind(std::chrono::milliseconds limit);

  SCStream* stream() { return server_.running().at(0); }

  SessionWorld& world_ = SessionWorld::only();
  fakes::WindowServer& server_ = fakes::WindowServer::only();
  fakes::Desk& desk_ = fakes::desk();
  fakes::Encoder& encoder_ = fakes::encoder();

 private:
  std::map<std::string, long> idle_;
};

}  // namespace vesk::testing
