#pragma once

#include <atomic>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "capture/Capturer.h"
#include "control/ControlRequest.h"
#include "control/VideoOutlet.h"
#include "input/InputBacklog.h"
#include "input/InputInjector.h"
#include "link/AgentLink.h"
#include "platform/Application.h"
#include "platform/Platform.h"
#include "presence/Banner.h"

namespace vesk {

/// Owns every long-lived object of the program, wires them to each other, does what the agent asks
/// for, and runs a viewing session from its request to its end.
///
/// What the agent of one connection asked for is done for that connection alone: a request of an
/// agent that has gone starts nothing, and nothing that is said about it reaches the next one.
///
/// Thread: made on the main thread. Sessions are started and ended there, so `capturing_` and the
/// banner need no lock; `inputAllowed_` belongs to the input queue alone.
/// Owns: its parts. They, and everything submitted to a queue, know the controller weakly, except
/// where an input frame or the release of what is held must not be lost.
/// Fails: what the agent should know of becomes a "fault" message; everything else is silence.
class Controller final : public ApplicationDelegate,
                         public std::enable_shared_from_this<Controller> {
 public:
  /// `platform` outlives the controller. Only tests connect to another socket.
  explicit Controller(Platform& platform, std::string_view agentSocket = AgentLink::socketPath);

  void applicationDidFinishLaunching() override;

  /// Ends what runs as a stop does, lets go of everything, and ends the process with status 0.
  void applicationWillTerminate() override;

 private:
  using Agent = AgentLink::Connection;

  /// A request for a session on its way there. The numbers count up from 1.
  struct Start {
    StartRequest request;
    Agent agent = Agent::none;
    std::uint64_t number = 0;
  };

  void wireCapturer();
  void wireLink();
  void greet();
  std::shared_ptr<void> endAtOnce();
  void receiveInput(ByteView data);
  void agentLost();

  void carryOut(const StartRequest& request, Agent agent);
  void carryOut(const StopRequest&, Agent);
  void carryOut(const KeyframeRequest&, Agent);
  void carryOut(const BitrateRequest& request, Agent);
  void carryOut(const InputRequest& request, Agent);
  void carryOut(const ViewerRequest& request, Agent);

  void start(const StartRequest& request, Agent agent);
  void ask(const Start& start);
  void deny(const Start& start);
  void begin(const Start& start);
  void capture(const Start& start);
  void captureEnded(const Start& start, const std::exception_ptr& error);
  void captureStarted(const std::vector<Start>& starts);
  void runSession(const Start& start);
  void captureFailed(const Start& start, const std::exception_ptr& error);
  void stop();
  void rename();

  bool isOvertaken(const Start& start) const;
  void endUnwantedCapture();
  void withdrawQuestions();
  void allowInput(bool allowed);
  void endInput(HostTime deadline);
  HostTime inputDeadline() const;

  void promptForTrustIfMissing();
  Message startedMessage() const;

  /// A task that calls `action` with the controller, if there still is one when it runs.
  template <typename Action>
  auto weakly(Action action) {
    return [weak = weak_from_this(), action = std::move(action)](auto&&... arguments) {
      if (const auto self = weak.lock()) action(*self, arguments...);
    };
  }

  Platform& platform_;
  std::shared_ptr<AgentLink> link_;
  std::shared_ptr<Capturer> capturer_;
  InputInjector injector_;
  Banner banner_;
  InputBacklog inputQueue_;
  VideoOutlet video_;
  bool capturing_ = false;
  bool inputAllowed_ = false;
  bool overflowTold_ = false;  ///< on the input queue, since input was last allowed

  /// Ends of input that have come and wait for the main thread: until it has carried them out,
  /// nothing allows input again.
  std::shared_ptr<std::atomic<int>> endsOnTheirWay_ = std::make_shared<std::atomic<int>>(0);
  std::atomic<bool> inputWished_ = false;  ///< what the input queue was told last

  // On the main thread only.
  std::optional<std::string> newName_;  ///< for the banner, from the latest of the requests
  bool trustWanted_ = false;            ///< a look at it is on its way
  std::uint64_t starts_ = 0;
  std::uint64_t overtaken_ = 0;  ///< every start up to this one was overtaken by a stop
  int capturesUnderWay_ = 0;
  bool captureUnwanted_ = false;  ///< what runs has been started for overtaken starts alone
  std::vector<Start> riders_;     ///< overtaken ones that share the fate of a capture under way

  std::atomic<Agent> sessionsAgent_ = Agent::none;  ///< whom a fault of the capture concerns
};

}  // namespace vesk
