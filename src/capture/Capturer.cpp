#include "capture/Capturer.h"

#include <chrono>
#include <limits>
#include <stdexcept>
#include <utility>

#include "capture/CaptureError.h"
#include "capture/annexB.h"
#include "capture/averageBitRate.h"
#include "capture/chosenDisplay.h"
#include "capture/frameDuration.h"
#include "capture/frameRate.h"
#include "capture/panelPixels.h"
#include "capture/tickInterval.h"
#include "capture/videoSize.h"
#include "link/Log.h"
#include "platform/Fatal.h"

namespace vesk {
namespace {

using namespace std::chrono_literals;

constexpr auto tickLeeway = 2ms;
constexpr int streamQueueDepth = 5;
constexpr std::int64_t keyFrameSeconds = 4;

std::exception_ptr exceptionOf(const PlatformError& error) {
  return std::make_exception_ptr(std::runtime_error(error.localizedDescription));
}

void throwIfError(const std::optional<PlatformError>& error) {
  if (error) throw std::runtime_error(error->localizedDescription);
}

/// Stopping keeps the stream alive until it has stopped; how that went is nobody's concern.
void stopInBackground(std::shared_ptr<ScreenStream> stream) {
  if (stream == nullptr) return;
  auto& target = *stream;
  target.stopCapture([held = std::move(stream)](const auto&) {});
}

std::int32_t narrowed(std::int64_t edge) {
  if (edge > std::numeric_limits<std::int32_t>::max() ||
      edge < std::numeric_limits<std::int32_t>::min()) {
    fatal("a video size does not fit 32 bits");
  }
  return static_cast<std::int32_t>(edge);
}

}  // namespace

Capturer::Capturer(const Parts& parts)
    : parts_(parts), queue_(parts.queues.makeSerialQueue("com.vesk.screen.capture")) {}

/// The stream hands its images to the queue, so it ends first.
Capturer::~Capturer() { stream_ = nullptr; }

void Capturer::start(std::int64_t fps, std::int64_t bitrateKbps, Completion completion,
                     bool /*excluding*/) {
  fps_ = frameRate(fps);
  parts_.screenCapture.shareableContent(
      [self = shared_from_this(), bitrateKbps, generation = generation_.load(),
       completion = std::move(completion)](const std::optional<ShareableContent>& content,
                                           const std::optional<PlatformError>& error) {
        if (error) return completion(exceptionOf(*error));
        Prepared prepared;
        try {
          prepared = self->prepare(content.value_or(ShareableContent{}), bitrateKbps, generation);
        } catch (const std::exception&) {
          return completion(std::current_exception());
        }
        self->startCapture(prepared, bitrateKbps, completion);
      });
}

Capturer::Prepared Capturer::prepare(const ShareableContent& content, std::int64_t bitrateKbps,
                                     std::uint64_t generation) {
  const auto display = chosenDisplay(content.displays, parts_.displays.mainDisplay());
  if (!display) throw CaptureError("This Mac reports no display to capture.");
  const ContentFilter filter = filterFor(*display, content);
  const PixelSize size = videoSize(panelPixels(*display, parts_.displays));
  width_ = size.width;
  height_ = size.height;
  makeEncoder(bitrateKbps);
  startTicker();
  return {display->displayID, makeStream(filter, generation), generation};
}

/// The program itself, so that its own windows never reach the viewer.
ContentFilter Capturer::filterFor(const ShareableDisplay& display,
                                  const ShareableContent& content) const {
  ContentFilter filter{display, {}};
  const ProcessId own = parts_.processes.currentProcessId();
  for (const auto& application : content.applications) {
    if (application.processID == own) filter.excludingApplications.push_back(application);
  }
  return filter;
}

StreamConfiguration Capturer::configuration() const {
  StreamConfiguration configuration;
  configuration.width = width_;
  configuration.height = height_;
  configuration.pixelFormat = PixelFormat::yCbCr420BiPlanarVideoRange;
  configuration.framesPerSecond = fps_;
  configuration.showsCursor = true;
  configuration.queueDepth = streamQueueDepth;
  return configuration;
}

void Capturer::makeEncoder(std::int64_t bitrateKbps) {
  CompressionSpecification specification;
  specification.width = narrowed(width_);
  specification.height = narrowed(height_);
  specification.enableHardwareAcceleratedVideoEncoder = true;
  auto made = parts_.compression.makeH264Session(specification);
  if (made.status != 0 || made.session == nullptr) {
    throw CaptureError("The Mac's video encoder would not start (" + std::to_string(made.status) +
                       ").");
  }
  configure(*made.session, bitrateKbps);
  made.session->prepareToEncodeFrames();
  queue_->sync([&] {
    replaceSession(std::move(made.session));
    forceKeyframe_ = true;
  });
}

/// What the one before still has on its way, nobody waits for any more.
void Capturer::replaceSession(std::unique_ptr<CompressionSession> session) {
  if (current_ != nullptr) *current_ = false;
  current_ = std::make_shared<std::atomic<bool>>(session != nullptr);
  session_ = std::move(session);
}

/// The order matters to encoders that derive one setting from another; a refusal does not.
void Capturer::configure(CompressionSession& session, std::int64_t bitrateKbps) const {
  using Property = CompressionProperty;
  const std::int64_t fps = fps_;
  session.setProperty(Property::realTime, true);
  session.setProperty(Property::profileLevel, ProfileLevel::h264ConstrainedBaselineAutoLevel);
  session.setProperty(Property::allowFrameReordering, false);
  session.setProperty(Property::averageBitRate, averageBitRate(bitrateKbps));
  session.setProperty(Property::expectedFrameRate, fps);
  session.setProperty(Property::maxKeyFrameInterval, fps * keyFrameSeconds);
  session.setProperty(Property::maxKeyFrameIntervalDuration, keyFrameSeconds);
}

void Capturer::startTicker() {
  const TimerSchedule schedule{tickInterval(fps_), tickLeeway};
  auto ticker = parts_.queues.makeTimer(*queue_, schedule, [weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->tick();
  });
  ticker->resume();
  queue_->sync([&] { ticker_ = std::move(ticker); });
}

std::shared_ptr<ScreenStream> Capturer::makeStream(const ContentFilter& filter,
                                                   std::uint64_t generation) {
  std::shared_ptr<ScreenStream> stream = parts_.screenCapture.makeStream(
      filter, configuration(), [weak = weak_from_this(), generation](const PlatformError& error) {
        if (const auto self = weak.lock()) self->streamStopped(error, generation);
      });
  throwIfError(stream->addOutput(
      [weak = weak_from_this(), generation](const StreamSample& sample, StreamOutputType type) {
        if (const auto self = weak.lock()) self->receive(sample, type, generation);
      },
      *queue_));
  return stream;
}

/// Where a stop has come in between, nobody waits for this stream any more.
void Capturer::keep(const Prepared& prepared) {
  const std::lock_guard lock(streamLock_);
  if (prepared.generation == generation_) {
    stream_ = prepared.stream;
  } else {
    stopInBackground(prepared.stream);
  }
}

void Capturer::startCapture(const Prepared& prepared, std::int64_t bitrateKbps,
                            const Completion& completion) {
  prepared.stream->startCapture([self = shared_from_this(), prepared, bitrateKbps,
                                 completion](const std::optional<PlatformError>& error) {
    if (error) return completion(exceptionOf(*error));
    self->keep(prepared);
    Log::info("Capturing display " + std::to_string(prepared.display) + " at " +
              std::to_string(self->width_) + "x" + std::to_string(self->height_) + ", " +
              std::to_string(self->fps_) + " fps, " + std::to_string(bitrateKbps) + " kbps.");
    completion(nullptr);
  });
}

/// A stream ends in the background, and its last images may come when the next session runs.
void Capturer::receive(const StreamSample& sample, StreamOutputType type,
                       std::uint64_t generation) {
  if (generation != generation_) return;
  if (type != StreamOutputType::screen || !sample.valid || sample.image == nullptr) return;
  // Of a picture whose status is unknown the best guess is that it can be shown.
  if (sample.status.value_or(0) != static_cast<int>(FrameStatus::complete)) return;
  lastImage_ = sample.image;
}

void Capturer::tick() {
  if (lastImage_ == nullptr) return;
  encode(lastImage_, parts_.clock.hostTime());
}

void Capturer::encode(const ImageBufferRef& image, HostTime pts) {
  if (session_ == nullptr) return;
  const bool forceKeyFrame = std::exchange(forceKeyframe_, false);
  std::optional<double> seconds;
  if (lastPts_) seconds = static_cast<double>((pts - *lastPts_).count()) / 1e9;
  const Ticks duration = frameDuration(seconds, fps_);
  lastPts_ = pts;
  session_->encodeFrame(image, pts, forceKeyFrame,
                        [weak = weak_from_this(), duration, current = current_](
                            Status status, const std::optional<EncodedSample>& sample) {
                          const auto self = weak.lock();
                          if (self != nullptr && *current && status == 0 && sample)
                            self->deliver(*sample, duration);
                        });
}

void Capturer::deliver(const EncodedSample& sample, Ticks duration) const {
  const auto accessUnit = annexB(sample);
  if (accessUnit && onAccessUnit) onAccessUnit(*accessUnit, duration);
}

/// The end of a stream that was stopped anyhow is not that of the session that runs by now.
void Capturer::streamStopped(const PlatformError& error, std::uint64_t generation) const {
  if (generation != generation_) return;
  Log::info("Capture stopped: " + error.localizedDescription);
  if (onFault) onFault("The Mac stopped sharing its screen: " + error.localizedDescription);
}

void Capturer::requestKeyframe() {
  queue_->async([weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->forceKeyframe_ = true;
  });
}

void Capturer::setBitrate(std::int64_t kbps) {
  queue_->async([weak = weak_from_this(), kbps] {
    const auto self = weak.lock();
    if (self == nullptr || self->session_ == nullptr) return;
    self->session_->setProperty(CompressionProperty::averageBitRate, averageBitRate(kbps));
  });
}

void Capturer::stop() {
  std::shared_ptr<ScreenStream> stream;
  {
    const std::lock_guard lock(streamLock_);
    stream = std::exchange(stream_, nullptr);
    ++generation_;
  }
  stopInBackground(std::move(stream));
  queue_->sync([this] {
    if (ticker_ != nullptr) ticker_->cancel();
    ticker_ = nullptr;
    if (session_ != nullptr) {
      session_->completeFrames();
      session_->invalidate();
    }
    replaceSession(nullptr);
    lastImage_ = nullptr;
    lastPts_ = std::nullopt;
  });
}

}  // namespace vesk
