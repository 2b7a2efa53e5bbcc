#pragma once

#include <memory>
#include <string>
#include <utility>

#include "fakes/FakeDisplays.h"
#include "fakes/FakePermissions.h"
#include "fakes/RecordingAlerts.h"
#include "fakes/RecordingCompression.h"
#include "fakes/RecordingEventPoster.h"
#include "fakes/RecordingOverlays.h"
#include "fakes/RecordingProcesses.h"
#include "fakes/RecordingScreenCapture.h"
#include "platform/Platform.h"

namespace vesk::fakes {

/// A session whose every part is a fake.
class FakeDesktop final : public Desktop {
 public:
  explicit FakeDesktop(const Clock& clock) : gate(clock) {}

  std::string description() const override { return "a fake"; }
  Permissions& permissions() override { return thePermissions; }
  Displays& displays() override { return theDisplays; }
  ScreenCapture& screenCapture() override { return theScreen; }
  EventPoster& events() override { return theEvents; }
  InputGate& inputGate() override { return gate; }

  FakePermissions thePermissions;
  FakeDisplays theDisplays;
  RecordingScreenCapture theScreen;
  RecordingEventPoster theEvents;
  InputGate gate;
};

/// A whole platform of fakes, but for the queues and the clock, which the test chooses. It has no
/// application: the test does what the main loop would.
class FakePlatform {
 public:
  FakePlatform(std::unique_ptr<Queues> queues, std::unique_ptr<Clock> clock)
      : platform(platformOf(std::move(queues), std::move(clock))) {}

  Platform platform;
  RecordingProcesses& processes = make<RecordingProcesses>(platform.processes);
  FakeDesktop& desktop = make<FakeDesktop>(platform.desktop, *platform.clock);
  RecordingCompression& compression = make<RecordingCompression>(platform.compression);
  RecordingAlerts& alerts = make<RecordingAlerts>(platform.alerts);
  RecordingOverlays& overlays = make<RecordingOverlays>(platform.overlays);

 private:
  static Platform platformOf(std::unique_ptr<Queues> queues, std::unique_ptr<Clock> clock) {
    Platform made;
    made.queues = std::move(queues);
    made.clock = std::move(clock);
    return made;
  }

  /// A fake that the platform owns, and the test may look at.
  template <typename Fake, typename Interface, typename... Arguments>
  static Fake& make(std::unique_ptr<Interface>& owner, Arguments&&... arguments) {
    auto fake = std::make_unique<Fake>(std::forward<Arguments>(arguments)...);
    Fake& result = *fake;
    owner = std::move(fake);
    return result;
  }
};

}  // namespace vesk::fakes
