#include "platform/linux/picture/X264Session.h"

#include <utility>

#include "platform/linux/picture/X264Compression.h"

namespace vesk::picture {

X264Session::X264Session(const CompressionSpecification& specification)
    : state_(std::make_shared<State>()), queue_("com.vesk.screen.encoder") {
  state_->settings.encoder.width = specification.width;
  state_->settings.encoder.height = specification.height;
}

/// What always holds of this encoder needs no setting; a contrary wish is refused.
Status X264Session::setProperty(CompressionProperty property, PropertyValue value) {
  const auto* number = std::get_if<std::int64_t>(&value);
  const auto set = [&](auto change) -> Status {
    if (number == nullptr || *number < 1) return X264Compression::refused;
    queue_.async([state = state_, change, wanted = *number] { change(*state, wanted); });
    return 0;
  };
  switch (property) {
    case CompressionProperty::realTime:
      return value == PropertyValue(true) ? 0 : X264Compression::refused;
    case CompressionProperty::profileLevel:
      return value == PropertyValue(ProfileLevel::h264ConstrainedBaselineAutoLevel)
                 ? 0
                 : X264Compression::refused;
    case CompressionProperty::allowFrameReordering:
      return value == PropertyValue(false) ? 0 : X264Compression::refused;
    case CompressionProperty::averageBitRate:
      return set([](State& state, std::int64_t wanted) {
        state.settings.bitRate = wanted;
        if (state.encoder != nullptr) state.encoder->setBitRate(wanted);
      });
    case CompressionProperty::expectedFrameRate:
      return set(
          [](State& state, auto wanted) { state.settings.encoder.framesPerSecond = wanted; });
    case CompressionProperty::maxKeyFrameInterval:
      return set([](State& state, auto wanted) { state.settings.maxKeyFrameInterval = wanted; });
    case CompressionProperty::maxKeyFrameIntervalDuration:
      return set([](State& state, auto wanted) {
        state.settings.maxKeyFrameDuration = std::chrono::seconds(wanted);
      });
  }
  return X264Compression::refused;
}

Status X264Session::prepareToEncodeFrames() {
  Status status = 0;
  queue_.sync([&] {
    auto encoder = std::make_unique<ScreenEncoder>(state_->settings);
    if (*encoder) {
      state_->encoder = std::move(encoder);
    } else {
      status = X264Compression::refused;
    }
  });
  return status;
}

Status X264Session::encodeFrame(ImageBufferRef image, HostTime presentationTime, bool forceKeyFrame,
                                OutputHandler handler) {
  if (!valid_ || image == nullptr) return X264Compression::refused;
  if (state_->pending >= mostPending) {
    // The viewer asked for it, and must not wait for the next one that comes by itself.
    if (forceKeyFrame) state_->keyFrameLost = true;
    handler(0, std::nullopt);
    return 0;
  }
  ++state_->pending;
  queue_.async([state = state_, image = std::move(image), presentationTime, forceKeyFrame,
                handler = std::move(handler)]() mutable {
    auto sample = encode(*state, std::move(image), presentationTime, forceKeyFrame);
    const Status status = sample ? 0 : X264Compression::refused;
    handler(status, std::move(sample));
    handler = nullptr;
    --state->pending;
  });
  return 0;
}

std::optional<EncodedSample> X264Session::encode(State& state, ImageBufferRef image, HostTime time,
                                                 bool forceKeyFrame) {
  const bool key = state.keyFrameLost.exchange(false) || forceKeyFrame;
  auto pixels = std::dynamic_pointer_cast<const Nv12Image>(std::move(image));
  std::optional<EncodedSample> sample;
  if (state.encoder != nullptr && pixels != nullptr) {
    sample = state.encoder->encode(std::move(pixels), time, key);
  }
  if (!sample && key) state.keyFrameLost = true;
  return sample;
}

Status X264Session::completeFrames() {
  queue_.sync([] {});
  return 0;
}

void X264Session::invalidate() {
  if (!valid_.exchange(false)) return;
  queue_.sync([this] { state_->encoder = nullptr; });
}

}  // namespace vesk::picture
