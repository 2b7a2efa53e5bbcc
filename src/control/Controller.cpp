#include "control/Controller.h"

#include <chrono>
#include <utility>

#include "lifecycle/SingleInstance.h"
#include "link/Log.h"
#include "platform/User.h"
#include "presence/Consent.h"

namespace vesk {
namespace {

using namespace std::chrono_literals;

/// Time for the fault message to reach the agent before the process ends.
constexpr auto exitDelay = 3s;

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
      inputQueue_(platform.queues->makeSerialQueue("com.vesk.screen.input")) {}

// Start-up

void Controller::applicationDidFinishLaunching() {
  SingleInstance::handOverIfNotOurJob(*platform_.processes);
  SingleInstance::closeOthers(*platform_.processes);
  wireCapturer();
  wireLink();
  link_->start();
  Log::info("Vesk Remote started for " + loginName() + ".");
}

void Controller::wireCapturer() {
  capturer_->onAccessUnit = weakly([](Controller& self, ByteView accessUnit, Ticks duration) {
    self.link_->sendVideo(accessUnit, duration);
  });
  // The agent hears of the fault at once, on the stream's thread; the session ends on the main one.
  auto stopLater = [&main = platform_.queues->main(),
                    stop = weakly([](Controller& self) { self.stop(); })] { main.async(stop); };
  capturer_->onFault = [report = weakly([](Controller& self, const std::string& message) {
                          self.link_->sendControl(Message("fault").with("message", message));
                        }),
                        stopLater](const std::string& message) {
    report(message);
    stopLater();
  };
  link_->onDisconnected = stopLater;
}

void Controller::wireLink() {
  link_->onConnected = weakly([](Controller& self) { self.greet(); });
  link_->onControl =
      [&main = platform_.queues->main(),
       control = weakly([](Controller& self, const Message& message) { self.control(message); })](
          const Message& message) { main.async([control, message] { control(message); }); };
  link_->onInput = weakly([](Controller& self, ByteView data) { self.receiveInput(data); });
}

void Controller::greet() {
  Permissions& permissions = platform_.desktop->permissions();
  link_->sendControl(Message("hello")
                         .with("user", loginName())
                         .with("uid", userId())
                         .with("screenRecording", permissions.preflightScreenCaptureAccess())
                         .with("accessibility", permissions.isProcessTrusted()));
}

void Controller::receiveInput(ByteView data) {
  inputQueue_->async([self = shared_from_this(), bytes = Bytes(data.begin(), data.end())] {
    if (self->inputAllowed_) self->injector_.handle(bytes);
  });
}

// Control messages

void Controller::control(const Message& message) {
  const auto request = controlRequest(message);
  if (request) std::visit([this](const auto& each) { carryOut(each); }, *request);
}

void Controller::carryOut(const StartRequest& request) { start(request); }

void Controller::carryOut(const StopRequest&) { stop(); }

void Controller::carryOut(const KeyframeRequest&) { capturer_->requestKeyframe(); }

void Controller::carryOut(const BitrateRequest& request) {
  capturer_->setBitrate(request.bitrateKbps);
}

void Controller::carryOut(const InputRequest& request) {
  inputQueue_->async(weakly([allowed = request.allowed](Controller& self) {
    self.inputAllowed_ = allowed;
    if (!allowed) self.injector_.releaseAll();
  }));
  if (request.allowed) promptForTrustIfMissing();
}

void Controller::carryOut(const ViewerRequest& request) { banner_.setViewer(request.name); }

// A session

void Controller::start(const StartRequest& request) {
  if (capturing_) {
    capturer_->requestKeyframe();
    link_->sendControl(startedMessage());
    return;
  }
  const auto begin = weakly([request](Controller& self) { self.begin(request); });
  if (!request.consent) {
    begin();
    return;
  }
  link_->sendControl(Message("state").with("state", "awaiting-consent"));
  const auto deny = weakly([](Controller& self) {
    self.link_->sendControl(
        Message("denied").with("message", "The person at the Mac did not allow it."));
  });
  Consent::ask(platform_.queues->main(), *platform_.alerts, request.viewer,
               [begin, deny](bool allowed) { allowed ? begin() : deny(); });
}

void Controller::begin(const StartRequest& request) {
  link_->sendControl(Message("state").with("state", "starting"));
  platform_.queues->main().async(weakly([request](Controller& self) { self.capture(request); }));
}

void Controller::capture(const StartRequest& request) {
  // The capturer may answer on any thread, after a while; the main thread is free until it does.
  auto finish = weakly([request](Controller& self, const std::exception_ptr& error) {
    error == nullptr ? self.captureStarted(request) : self.captureFailed(error);
  });
  capturer_->start(request.fps, request.bitrateKbps,
                   [&main = platform_.queues->main(), finish](const std::exception_ptr& error) {
                     main.async([finish, error] { finish(error); });
                   });
}

void Controller::captureStarted(const StartRequest& request) {
  capturing_ = true;
  inputQueue_->async(
      weakly([allowed = request.input](Controller& self) { self.inputAllowed_ = allowed; }));
  if (request.input) promptForTrustIfMissing();
  banner_.show(request.viewer, Banner::Style(request.banner));
  link_->sendControl(
      startedMessage().with("accessibility", platform_.desktop->permissions().isProcessTrusted()));
}

void Controller::captureFailed(const std::exception_ptr& error) {
  Permissions& permissions = platform_.desktop->permissions();
  if (permissions.preflightScreenCaptureAccess()) {
    const std::string description = descriptionOf(error);
    Log::info("Capture failed: " + description);
    link_->sendControl(
        Message("fault").with("message", "The Mac could not share its screen: " + description));
    return;
  }
  permissions.requestScreenCaptureAccess();
  link_->sendControl(
      Message("fault")
          .with("code", "screen-recording")
          .with("message",
                "Screen Recording has not been allowed for Vesk Remote on this Mac. Someone at the "
                "Mac must turn it on once: System Settings › Privacy & Security › Screen & System "
                "Audio Recording."));
  // A grant only counts for a new process, which the job starts.
  platform_.queues->main().after(
      exitDelay, [&processes = *platform_.processes] { processes.exit(EXIT_FAILURE); });
}

void Controller::stop() {
  if (capturing_) capturer_->stop();
  capturing_ = false;
  banner_.hide();
  // Behind the input that is already on its way, so that it is let go of too.
  inputQueue_->async([self = shared_from_this()] {
    self->inputAllowed_ = false;
    self->injector_.releaseAll();
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
