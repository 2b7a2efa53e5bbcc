#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Displays.h"
#include "platform/ImageBuffer.h"
#include "platform/Processes.h"
#include "platform/SerialQueue.h"

namespace vesk {

/// An error of the platform's own; its text is for the person and is passed on unchanged.
struct PlatformError {
  std::string localizedDescription;
  bool operator==(const PlatformError&) const = default;
};

/// Nothing on success.
using Completion = std::function<void(std::optional<PlatformError>)>;

/// The platform's own object behind a value of the seam, where it has one. The core carries it back
/// and knows nothing else of it.
using NativeObject = std::shared_ptr<const void>;

struct ShareableDisplay {
  DisplayId displayID = 0;
  std::int64_t width = 0;   ///< points
  std::int64_t height = 0;  ///< points
  NativeObject native = nullptr;
};

struct RunningApplication {
  ProcessId processID = 0;
  NativeObject native = nullptr;
};

/// What the window system lets this program share.
struct ShareableContent {
  std::vector<ShareableDisplay> displays;
  std::vector<RunningApplication> applications;
};

/// One display without the windows of some applications.
struct ContentFilter {
  ShareableDisplay display;
  std::vector<RunningApplication> excludingApplications;
};

/// Four-character codes of the image layouts.
enum class PixelFormat : std::uint32_t {
  yCbCr420BiPlanarVideoRange = 0x34323076,  ///< "420v"
};

struct StreamConfiguration {
  std::int64_t width = 0;   ///< pixels of the delivered images
  std::int64_t height = 0;  ///< pixels of the delivered images
  PixelFormat pixelFormat = PixelFormat::yCbCr420BiPlanarVideoRange;
  std::int32_t framesPerSecond = 0;  ///< the shortest interval between two images is 1 / this
  bool showsCursor = false;
  int queueDepth = 0;  ///< images that may be in the receiver's hands at once
};

enum class FrameStatus : int { complete = 0, idle, blank, suspended, started, stopped };

enum class StreamOutputType : int { screen = 0, audio };

/// What a stream delivers. `image` is null where there is none to show.
struct StreamSample {
  bool valid = true;
  ImageBufferRef image;
  std::optional<int> status;  ///< a `FrameStatus`, or nothing when it cannot be read
};

/// Thread: any, one call at a time. Owns: its thread and the window system's resources.
/// Calls back: samples on the queue given with the output; the end of the stream, when the system
/// ends it, once, on a thread of the stream's own. After the completion of `stopCapture`, and after
/// destruction, nothing is called back.
class ScreenStream {
 public:
  using Output = std::function<void(const StreamSample&, StreamOutputType)>;

  virtual ~ScreenStream() = default;

  /// Called before the start. An error says why samples cannot be delivered.
  virtual std::optional<PlatformError> addOutput(Output output, SerialQueue& queue) = 0;

  /// `completion` runs once, on any thread.
  virtual void startCapture(Completion completion) = 0;
  virtual void stopCapture(Completion completion) = 0;
};

/// Thread: any. Owns: nothing of what it makes.
class ScreenCapture {
 public:
  using Content =
      std::function<void(std::optional<ShareableContent>, std::optional<PlatformError>)>;

  virtual ~ScreenCapture() = default;

  /// What can be shared, on-screen windows only. `completion` runs once, on any thread, with the
  /// content or the error.
  virtual void shareableContent(Content completion) = 0;

  /// A stream that is not started yet. `onStopped` is called when the system ends it by itself.
  virtual std::unique_ptr<ScreenStream> makeStream(
      const ContentFilter& filter, const StreamConfiguration& configuration,
      std::function<void(PlatformError)> onStopped) = 0;

  /// Nobody waits any more for what the window system still asks the person at the start of
  /// streams: those starts fail. Nothing to do where it asks nothing then.
  virtual void withdrawQuestions() {}
};

}  // namespace vesk
