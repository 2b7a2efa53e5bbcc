#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "control/Controller.h"
#include "fakes/FakePlatform.h"
#include "support/LinkLoop.h"
#include "support/LogLines.h"
#include "support/TemporaryFolder.h"
#include "support/UnixListener.h"

namespace vesk::testing {

/// A controller over fakes, and its agent at the other end of a real socket. The link reads on a
/// thread of its own; everything else runs when the test says so.
class ControllerFixture : public ::testing::Test {
 protected:
  ControllerFixture();
  ~ControllerFixture() override;

  /// What the main loop does first.
  void launch() { controller_->applicationDidFinishLaunching(); }

  /// Launches with an agent that listens, up to the greeting, which is returned.
  Message connect();

  /// Sends a control message and lets the program do all that follows from it.
  void tell(std::string_view json);

  /// Sends control messages, all of them before the program does anything.
  void tellTogether(const std::vector<std::string>& messages);

  /// Sends an input message that the program does nothing with yet.
  void sendInput(std::string_view json);

  /// The agent goes, and the next one comes; its greeting is heard.
  void replaceAgent();

  /// Sends an input message and lets the program do all that follows from it.
  void input(std::string_view json);

  /// The next message from the program.
  Message heard();

  /// The text of the next message from the program.
  std::string heardText();

  /// Nothing more was said.
  bool isSilent() const { return peer_->isSilent(); }

  /// A message to which the program answers with nothing but is known to be dealt with when this
  /// returns, and so everything before it.
  void settle();

  std::shared_ptr<fakes::RecordedStream> stream() { return screen_.streams.back(); }
  std::shared_ptr<fakes::RecordedSession> session() { return fakes_.compression.sessions.back(); }

  TemporaryFolder folder_;
  LogLines log_;
  fakes::ManualClock time_;
  fakes::ManualQueues manual_{time_};
  SteppedClock* clock_ = nullptr;
  LinkQueues* linkQueues_ = nullptr;
  fakes::FakePlatform fakes_;
  fakes::RecordingProcesses& processes_ = fakes_.processes;
  fakes::FakePermissions& permissions_ = fakes_.desktop.thePermissions;
  fakes::RecordingScreenCapture& screen_ = fakes_.desktop.theScreen;
  fakes::RecordingEventPoster& events_ = fakes_.desktop.theEvents;
  std::optional<UnixListener> listener_;
  std::optional<UnixPeer> peer_;
  std::shared_ptr<Controller> controller_;
};

}  // namespace vesk::testing
