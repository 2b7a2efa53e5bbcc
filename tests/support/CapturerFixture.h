#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "capture/Capturer.h"
#include "fakes/FakeDisplays.h"
#include "fakes/ManualQueues.h"
#include "fakes/RecordingCompression.h"
#include "fakes/RecordingScreenCapture.h"

namespace vesk::testing {

inline constexpr ProcessId ownProcess = 4711;

/// Processes of which there is one.
class OwnProcess final : public Processes {
 public:
  ProcessId currentProcessId() const override { return ownProcess; }
  std::optional<std::string> environment(const std::string&) const override { return {}; }
  std::optional<std::string> mainBundleIdentifier() const override { return {}; }
  void runAndWait(const std::string&, const std::vector<std::string>&) override {}
  std::vector<ProcessId> runningApplications(std::string_view) const override { return {}; }
  bool forceTerminate(ProcessId) override { return false; }
  void terminate(ProcessId) override {}
  [[noreturn]] void exit(int status) override { std::exit(status); }
};

/// An image whose pixels nobody looks at.
class TestImage final : public ImageBuffer {
 public:
  PixelSize size() const override { return {2, 2}; }
};

struct SentUnit {
  Bytes bytes;
  Ticks duration;
};

/// A capturer over fakes. Everything runs when the test says so. Thread: the test's.
class CapturerFixture : public ::testing::Test {
 protected:
  CapturerFixture() {
    screen.content.displays = {{7, 1920, 1200}};
    displays.main = 7;
    displays.modes[7] = {2880, 1800};
    capturer->onAccessUnit = [this](ByteView bytes, Ticks duration) {
      units.push_back({Bytes(bytes.begin(), bytes.end()), duration});
    };
    capturer->onFault = [this](const std::string& message) { faults.push_back(message); };
  }

  void start(std::int64_t fps = 30, std::int64_t kbps = 4000, bool excluding = true) {
    capturer->start(
        fps, kbps,
        [this](std::exception_ptr error) {
          ++completions;
          startError = std::move(error);
        },
        excluding);
  }

  std::shared_ptr<fakes::RecordedSession> session() { return compression.sessions.back(); }
  std::shared_ptr<fakes::RecordedStream> stream() { return screen.streams.back(); }

  void deliverImage(std::optional<int> status = 0) {
    stream()->deliver({true, image, status});
    queues.run();
  }

  /// The encoder's answer to the frame that it got last.
  void answer(Status status = 0, std::optional<bool> notSync = true) {
    EncodedSample sample;
    sample.data = Bytes{std::byte{0}, std::byte{0}, std::byte{0}, std::byte{1}, std::byte{0x41}};
    sample.notSync = notSync;
    session()->frames.back().handler(status, sample);
  }

  fakes::ManualClock clock;
  fakes::ManualQueues queues{clock};
  OwnProcess processes;
  fakes::FakeDisplays displays;
  fakes::RecordingScreenCapture screen;
  fakes::RecordingCompression compression;
  std::shared_ptr<Capturer> capturer = std::make_shared<Capturer>(
      Capturer::Parts{queues, clock, processes, displays, screen, compression});
  ImageBufferRef image = std::make_shared<TestImage>();
  std::vector<SentUnit> units;
  std::vector<std::string> faults;
  int completions = 0;
  std::exception_ptr startError;

  using Frames = std::vector<fakes::RecordedFrame>;
  const Frames& frames() { return session()->frames; }
};

}  // namespace vesk::testing
