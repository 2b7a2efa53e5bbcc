#pragma once

#include <exception>
#include <memory>
#include <string>
#include <string_view>

#include "capture/Capturer.h"
#include "control/ControlRequest.h"
#include "input/InputInjector.h"
#include "link/AgentLink.h"
#include "platform/Application.h"
#include "platform/Platform.h"
#include "presence/Banner.h"

namespace vesk {

/// Owns every long-lived object of the program, wires them to each other, does what the agent asks
/// for, and runs a viewing session from its request to its end.
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

 private:
  void wireCapturer();
  void wireLink();
  void greet();
  void receiveInput(ByteView data);

  void control(const Message& message);
  void carryOut(const StartRequest& request);
  void carryOut(const StopRequest&);
  void carryOut(const KeyframeRequest&);
  void carryOut(const BitrateRequest& request);
  void carryOut(const InputRequest& request);
  void carryOut(const ViewerRequest& request);

  void start(const StartRequest& request);
  void begin(const StartRequest& request);
  void capture(const StartRequest& request);
  void captureStarted(const StartRequest& request);
  void captureFailed(const std::exception_ptr& error);
  void stop();

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
  std::unique_ptr<SerialQueue> inputQueue_;
  bool capturing_ = false;
  bool inputAllowed_ = false;
};

}  // namespace vesk
