#include "control/Controller.h"

#include <chrono>
#include <utility>

#include "control/ControlBacklog.h"
#include "lifecycle/SingleInstance.h"
#include "link/Log.h"
#include "platform/User.h"
#include "presence/Consent.h"

namespace vesk {
namespace {

using namespace std::chrono_literals;

/// Time for the fault message to reach the agent before the process ends.
constexpr auto exitDelay = 3s;

/// What of the viewer's is on its way when input ends gets this long; a quarter of a second after
/// the end nothing may happen any more.
constexpr auto timeForTheRest = 150ms;

bool endsInput(const ControlRequest& request) {
  const auto* input = std::get_if<InputRequest>(&request);
  return std::holds_alternative<StopRequest>(request) || (input != nullptr && !input->allowed);
}

std::string descriptionOf(const std::exception_ptr& error) try {
  std::rethrow_exception(error);
} catch (const std::exception& exception) {
  return exception.what();
}

}  // namespace

Controller::Controller(Platform& platform, std::string_view agentSocket)
    : platform_(platform),
      link_(std::make_shared<AgentLink>(*platform.queues, *platform.clock, agentSocket)),
      capturer_(std::make_shared<Capturer>(Capturer::Parts{
          *platform.queues, *platform.clock, *platform.processes, platform.desktop->displays(),
          platform.desktop->screenCapture(), *platform.compression})),
      injector_(platform.desktop->events(), platform.desktop->displays(), *platform.clock),
      banner_(platform.desktop->displays(), *platform.overlays),
      inputQueue_(platform.queues->makeSerialQueue("com.vesk.screen.input")),
      video_(*link_, [this] { capturer_->requestKeyframe(); }) {}

// From the first moment to the last

void Controller::applicationDidFinishLaunching() {
  SingleInstance::handOverIfNotOurJob(*platform_.processes);
  SingleInstance::closeOthers(*platform_.processes);
  wireCapturer();
  wireLink();
  link_->start();
  Log::info("Vesk Remote started for " + loginName() + ".");
  Log::info("The desktop is " + platform_.desktop->description() + ".");
  platform_.desktop->events().onLacking = [](std::size_t count) {
    Log::info("The keyboard's layout lacks " + std::to_string(count) +
              (count == 1 ? " character" : " characters") + " that the viewer typed.");
  };
}

void Controller::wireCapturer() {
  capturer_->onAccessUnit = weakly([](Controller& self, ByteView accessUnit, Ticks duration) {
    self.video_.send(accessUnit, duration);
  });
  // The agent hears of the fault at once, on the stream's thread; the session ends on the main one.
  capturer_->onFault =
      [report = weakly([](Controller& self, const std::string& message) {
         self.link_->sendControl(Message("fault").with("message", message), self.sessionsAgent_);
       }),
       &main = platform_.queues->main(),
       stop = weakly([](Controller& self) { self.stop(); })](const std::string& message) {
        report(message);
        main.async(stop);
      };
}

void Controller::wireLink() {
  link_->onConnected = weakly([](Controller& self) { self.greet(); });
  link_->onDisconnected = weakly([](Controller& self) { self.agentLost(); });
  // One at a time, in the order of their coming, on the main thread. What an agent that has gone
  // since has asked for is nobody's wish any more.
  auto control = weakly([](Controller& self, const ControlRequest& request, Agent agent) {
    if (agent != self.link_->connection()) return;
    std::visit([&](const auto& each) { self.carryOut(each, agent); }, request);
  });
  link_->onControl = [&main = platform_.queues->main(), &link = *link_, backlog = ControlBacklog(),
                      weak = weak_from_this(), control](const Message& message) {
    const auto request = controlRequest(message);
    std::shared_ptr<void> end;
    if (request && endsInput(*request)) {
      if (const auto self = weak.lock()) {
        end = self->endAtOnce();
        if (std::holds_alternative<StopRequest>(*request)) self->withdrawQuestions();
      }
    }
    main.async([control, request, agent = link.connection(), place = backlog.enter(), end] {
      if (request) control(*request, agent);
    });
  };
  link_->onInput = weakly([](Controller& self, ByteView data) { self.receiveInput(data); });
}

void Controller::applicationWillTerminate() {
  platform_.desktop->inputGate().close();
  stop();
  platform_.processes->exit(EXIT_SUCCESS);
}

// On the link's thread

void Controller::greet() {
  Permissions& permissions = platform_.desktop->permissions();
  link_->sendControl(Message("hello")
                         .with("user", loginName())
                         .with("uid", userId())
                         .with("screenRecording", permissions.preflightScreenCaptureAccess())
                         .with("accessibility", permissions.isProcessTrusted()));
}

/// Input ends when its end has come, not when the main thread comes to it: that may have a long way
/// to go. What is returned lives until it has been there.
std::shared_ptr<void> Controller::endAtOnce() {
  ++*endsOnTheirWay_;
  endInput(inputDeadline());
  return {endsOnTheirWay_.get(), [count = endsOnTheirWay_](void*) { --*count; }};
}

void Controller::receiveInput(ByteView data) {
  const auto self = shared_from_this();
  const bool added =
      inputQueue_.addMessage(data.size(), [self, bytes = Bytes(data.begin(), data.end())] {
        const bool mayGoOn = self->inputAllowed_ && !self->platform_.desktop->inputGate().isOver();
        if (mayGoOn) self->injector_.handle(bytes);
      });
  if (added) return;
  inputQueue_.add([self] {
    self->injector_.releaseAll();
    if (!self->inputAllowed_ || std::exchange(self->overflowTold_, true)) return;
    Log::info("More input came than could be injected; what waited was dropped.");
  });
}

/// The main thread may be held up by a question to the person; the viewer's hands must not go on
/// until it is free, and the next agent must find none of what this one was granted.
void Controller::agentLost() {
  endInput(inputDeadline());
  withdrawQuestions();
  platform_.queues->main().async(weakly([](Controller& self) { self.stop(); }));
}

// Requests

void Controller::carryOut(const StartRequest& request, Agent agent) { start(request, agent); }

void Controller::carryOut(const StopRequest&, Agent) { stop(); }

void Controller::carryOut(const KeyframeRequest&, Agent) { capturer_->requestKeyframe(); }

void Controller::carryOut(const BitrateRequest& request, Agent) {
  capturer_->setBitrate(request.bitrateKbps);
}

void Controller::carryOut(const InputRequest& request, Agent) {
  if (!request.allowed) return endInput(inputDeadline());
  allowInput(true);
  // The system is asked once, however many requests wait.
  if (std::exchange(trustWanted_, true)) return;
  platform_.queues->main().async(weakly([](Controller& self) {
    self.trustWanted_ = false;
    self.promptForTrustIfMissing();
  }));
}

/// However many names come at once, only the last one is laid out.
void Controller::carryOut(const ViewerRequest& request, Agent) {
  const bool isWaiting = std::exchange(newName_, request.name).has_value();
  if (isWaiting) return;
  platform_.queues->main().async(weakly([](Controller& self) { self.rename(); }));
}

void Controller::rename() {
  if (const auto name = std::exchange(newName_, std::nullopt)) banner_.setViewer(*name);
}

// A session

void Controller::start(const StartRequest& request, Agent agent) {
  if (capturing_) {
    capturer_->requestKeyframe();
    link_->sendControl(startedMessage(), agent);
    return;
  }
  const Start start{request, agent, ++starts_};
  if (!request.consent) return begin(start);
  link_->sendControl(Message("state").with("state", "awaiting-consent"), agent);
  // Behind the requests that are here already: one of them may be the stop.
  platform_.queues->main().async(weakly([start](Controller& self) { self.ask(start); }));
}

/// A request that was withdrawn before anybody saw the question is none to bother the person with.
void Controller::ask(const Start& start) {
  if (isOvertaken(start)) return deny(start);
  Consent::ask(platform_.queues->main(), *platform_.alerts, start.request.viewer,
               weakly([start](Controller& self, bool allowed) {
                 allowed ? self.begin(start) : self.deny(start);
               }));
}

void Controller::deny(const Start& start) {
  link_->sendControl(Message("denied").with("message", "The person at the Mac did not allow it."),
                     start.agent);
}

/// What the person has allowed to an agent that has gone since is nothing to the next one.
void Controller::begin(const Start& start) {
  if (start.agent != link_->connection()) return;
  link_->sendControl(Message("state").with("state", "starting"), start.agent);
  platform_.queues->main().async(weakly([start](Controller& self) { self.capture(start); }));
}

/// A stop has come since, or its agent has gone.
bool Controller::isOvertaken(const Start& start) const {
  return start.number <= overtaken_ || start.agent != link_->connection();
}

void Controller::capture(const Start& start) {
  // However fast starts and stops follow each other, the screen is not opened for each of them.
  if (isOvertaken(start) && capturesUnderWay_ > 0) return riders_.push_back(start);
  ++capturesUnderWay_;
  sessionsAgent_ = start.agent;
  // The capturer may answer on any thread, after a while; the main thread is free until it does.
  auto finish = weakly([start](Controller& self, const std::exception_ptr& error) {
    self.captureEnded(start, error);
  });
  capturer_->start(start.request.fps, start.request.bitrateKbps,
                   [&main = platform_.queues->main(), finish](const std::exception_ptr& error) {
                     main.async([finish, error] { finish(error); });
                   });
  // The stop was there before the question.
  if (isOvertaken(start)) withdrawQuestions();
}

/// The capture has come to the end of its start, this way or that.
void Controller::captureEnded(const Start& start, const std::exception_ptr& error) {
  --capturesUnderWay_;
  auto ended = std::exchange(riders_, {});
  ended.insert(ended.begin(), start);
  if (error == nullptr) {
    captureStarted(ended);
  } else {
    for (const auto& each : ended) captureFailed(each, error);
  }
  endUnwantedCapture();
}

void Controller::captureStarted(const std::vector<Start>& starts) {
  for (const auto& start : starts) {
    if (isOvertaken(start)) {
      captureUnwanted_ = !capturing_;
    } else {
      runSession(start);
    }
  }
  const Message started =
      startedMessage().with("accessibility", platform_.desktop->permissions().isProcessTrusted());
  for (const auto& start : starts) link_->sendControl(started, start.agent);
}

void Controller::runSession(const Start& start) {
  capturing_ = true;
  captureUnwanted_ = false;
  allowInput(start.request.input);
  if (start.request.input) promptForTrustIfMissing();
  newName_.reset();
  banner_.show(start.request.viewer, start.request.banner);
  video_.open(start.agent);
}

/// A stop that came while captures were starting is carried out once none is under way any more: a
/// later start has the same parts.
void Controller::endUnwantedCapture() {
  if (capturesUnderWay_ > 0 || !std::exchange(captureUnwanted_, false)) return;
  capturer_->stop();
  video_.shut();
}

void Controller::captureFailed(const Start& start, const std::exception_ptr& error) {
  Permissions& permissions = platform_.desktop->permissions();
  if (permissions.preflightScreenCaptureAccess()) {
    const std::string description = descriptionOf(error);
    Log::info("Capture failed: " + description);
    link_->sendControl(
        Message("fault").with("message", "The Mac could not share its screen: " + description),
        start.agent);
    return;
  }
  permissions.requestScreenCaptureAccess();
  link_->sendControl(
      Message("fault")
          .with("code", "screen-recording")
          .with("message",
                "Screen Recording has not been allowed for Vesk Remote on this Mac. Someone at the "
                "Mac must turn it on once: System Settings › Privacy & Security › Screen & System "
                "Audio Recording."),
      start.agent);
  // A grant only counts for a new process, which the job starts.
  platform_.queues->main().after(
      exitDelay, [&processes = *platform_.processes] { processes.exit(EXIT_FAILURE); });
}

void Controller::stop() {
  const HostTime deadline = inputDeadline();
  overtaken_ = starts_;
  if (capturing_) {
    // The last pictures must not wait for an agent that does not read.
    video_.stopWaiting();
    capturer_->stop();
    video_.shut();
  }
  capturing_ = false;
  withdrawQuestions();
  banner_.hide();
  endInput(deadline);
}

/// On any thread.
void Controller::withdrawQuestions() { platform_.desktop->screenCapture().withdrawQuestions(); }

// Input's end

HostTime Controller::inputDeadline() const { return platform_.clock->hostTime() + timeForTheRest; }

/// Nothing is allowed any more where an end has come meanwhile; nothing is said twice.
void Controller::allowInput(bool allowed) {
  if (inputWished_.exchange(allowed) == allowed) return;
  inputQueue_.add(weakly([allowed](Controller& self) {
    self.inputAllowed_ = allowed && *self.endsOnTheirWay_ == 0;
    self.overflowTold_ = false;
  }));
}

/// Behind the input that is already on its way, so that it is let go of too, but no longer than
/// until the deadline.
void Controller::endInput(HostTime deadline) {
  inputWished_ = false;
  InputGate& gate = platform_.desktop->inputGate();
  gate.endBy(deadline);
  inputQueue_.add([self = shared_from_this(), &gate] {
    self->inputAllowed_ = false;
    self->injector_.releaseAll();
    gate.ended();
  });
}

void Controller::promptForTrustIfMissing() {
  Permissions& permissions = platform_.desktop->permissions();
  if (!permissions.isProcessTrusted()) permissions.isProcessTrustedWithPrompt();
}

Message Controller::startedMessage() const {
  return Message("started").with("width", capturer_->width()).with("height", capturer_->height());
}

}  // namespace vesk
