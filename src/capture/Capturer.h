#pragma once

#include <atomic>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "link/Frame.h"
#include "platform/Clock.h"
#include "platform/Compression.h"
#include "platform/Displays.h"
#include "platform/Processes.h"
#include "platform/Queues.h"
#include "platform/ScreenCapture.h"

namespace vesk {

/// The main display as a steady stream of H.264 access units: the screen stream keeps the latest
/// image up to date, and a timer encodes that image at the frame rate, changed or not, so that a
/// viewer who joins late or lost a frame never waits for the screen to change.
///
/// Thread: `start` and `stop` from any but the capture queue, on which `stop` waits; `start` only
/// while nothing is shown: of several under way the last to succeed is the one that stays.
/// `requestKeyframe`, `setBitrate`, `width` and `height` from any.
/// Owns: the capture queue, the stream, the compression session and the timer. Held by a
/// `shared_ptr`; a `start` under way holds it too, everything else holds it weakly.
/// Fails: a start by its completion; a stream that the system ends by `onFault`; a frame that
/// cannot be encoded silently, as a missing access unit.
/// Calls back: access units in encoding order on the session's own thread, none after `stop` has
/// returned, also where an encoder was late; `onFault` on a thread of the stream's own, for a
/// stream that was not stopped before. A callback must not wait for `stop`.
class Capturer : public std::enable_shared_from_this<Capturer> {
 public:
  /// What it is made of; all outlive it.
  struct Parts {
    Queues& queues;
    Clock& clock;
    Processes& processes;
    Displays& displays;
    ScreenCapture& screenCapture;
    Compression& compression;
  };

  explicit Capturer(const Parts& parts);
  ~Capturer();
  Capturer(const Capturer&) = delete;
  Capturer& operator=(const Capturer&) = delete;

  /// Set once, before the first start.
  std::function<void(ByteView accessUnit, Ticks duration)> onAccessUnit;
  std::function<void(const std::string& message)> onFault;

  /// Null on success, else a `CaptureError`, or an exception that tells what the platform said.
  using Completion = std::function<void(std::exception_ptr)>;

  /// `completion` runs once, on any thread. The program's own windows are left out of the video
  /// whatever `excluding` says. A start that fails late leaves the session and the timer in place;
  /// without an image they send nothing, and the next stop or start does away with them.
  void start(std::int64_t fps, std::int64_t bitrateKbps, Completion completion,
             bool excluding = true);

  /// Delivers the frames that are being encoded and ends the session. Harmless when nothing runs.
  /// The screen stream ends in the background.
  void stop();

  /// However many requests come before the next frame, that one frame is a key frame.
  void requestKeyframe();

  /// Dropped when nothing runs.
  void setBitrate(std::int64_t kbps);

  /// The size of the encoded picture, once a start has succeeded.
  std::int64_t width() const { return width_; }
  std::int64_t height() const { return height_; }

 private:
  /// A stream that is ready to start.
  struct Prepared {
    DisplayId display = 0;
    std::shared_ptr<ScreenStream> stream;
    std::uint64_t generation = 0;
  };

  Prepared prepare(const ShareableContent& content, std::int64_t bitrateKbps,
                   std::uint64_t generation);
  void keep(const Prepared& prepared);
  void startCapture(const Prepared& prepared, std::int64_t bitrateKbps,
                    const Completion& completion);
  ContentFilter filterFor(const ShareableDisplay& display, const ShareableContent& content) const;
  StreamConfiguration configuration() const;
  void makeEncoder(std::int64_t bitrateKbps);
  void configure(CompressionSession& session, std::int64_t bitrateKbps) const;
  void startTicker();
  std::shared_ptr<ScreenStream> makeStream(const ContentFilter& filter, std::uint64_t generation);

  void receive(const StreamSample& sample, StreamOutputType type, std::uint64_t generation);
  void streamStopped(const PlatformError& error, std::uint64_t generation) const;
  void tick();
  void encode(const ImageBufferRef& image, HostTime pts);
  void deliver(const EncodedSample& sample, Ticks duration) const;
  void replaceSession(std::unique_ptr<CompressionSession> session);

  Parts parts_;

  std::mutex streamLock_;  ///< a start ends on whatever thread the platform chooses
  std::shared_ptr<ScreenStream> stream_;

  // On the capture queue only.
  std::unique_ptr<CompressionSession> session_;
  /// Whether what that session puts out is still for the viewer; its frames know it by this.
  std::shared_ptr<std::atomic<bool>> current_;
  ImageBufferRef lastImage_;
  std::optional<HostTime> lastPts_;
  std::unique_ptr<Timer> ticker_;
  bool forceKeyframe_ = true;

  /// Counts the stops, under the lock: no session shows what an earlier one's stream brings, and
  /// none keeps a stream that was asked for before a stop.
  std::atomic<std::uint64_t> generation_ = 0;

  std::atomic<std::int32_t> fps_ = 30;
  std::atomic<std::int64_t> width_ = 0;
  std::atomic<std::int64_t> height_ = 0;

  /// Last, so that it runs out before what its tasks use is gone.
  std::unique_ptr<SerialQueue> queue_;
};

}  // namespace vesk
