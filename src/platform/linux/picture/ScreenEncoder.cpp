#include "platform/linux/picture/ScreenEncoder.h"

#include <utility>

#include "platform/linux/picture/h264/frameNumber.h"
#include "platform/linux/picture/h264/skipPicture.h"

namespace vesk::picture {
namespace {

using Bytes = std::vector<std::byte>;
constexpr std::size_t lengthSize = 4;

constexpr std::uint8_t worstQuantiser = 51;

std::size_t lengthAt(h264::ByteView data) {
  std::size_t length = 0;
  for (const std::byte byte : data.first(lengthSize)) {
    length = length << 8 | std::to_integer<std::size_t>(byte);
  }
  return length;
}

void appendUnit(Bytes& data, const Bytes& unit) {
  for (int shift = 24; shift >= 0; shift -= 8) {
    data.push_back(static_cast<std::byte>(unit.size() >> shift & 0xff));
  }
  data.insert(data.end(), unit.begin(), unit.end());
}

std::size_t macroblocksOf(const X264Settings& settings) {
  return static_cast<std::size_t>(macroblocksAcross(settings.width)) *
         static_cast<std::size_t>(macroblocksAcross(settings.height));
}

}  // namespace

ScreenEncoder::ScreenEncoder(const ScreenEncoderSettings& settings)
    : settings_(settings), encoder_(settings.encoder), plan_(macroblocksOf(settings.encoder)) {
  if (!encoder_) return;
  unchanged_.resize(macroblocksOf(settings.encoder));
  quantisers_.assign(unchanged_.size(), worstQuantiser);
  const auto& sets = encoder_.parameterSets();
  if (sets.size() == 2) syntax_ = h264::sliceSyntax(sets[0], sets[1]);
}

std::optional<EncodedSample> ScreenEncoder::encode(const Nv12Image& image, HostTime time,
                                                   bool forceKeyFrame) {
  if (image.size() != PixelSize{settings_.encoder.width, settings_.encoder.height}) {
    return std::nullopt;
  }
  PicturePlan::Tick tick;
  compare(image, tick);
  if (lastTime_) tick.elapsed = time - *lastTime_;
  tick.bitRate = settings_.bitRate;
  tick.keyFrame = forceKeyFrame || keyFrameIsDue(time);
  lastTime_ = time;

  auto decision = plan_.next(tick);
  auto data = produceInTheLimit(image, decision);
  if (!data) return std::nullopt;
  lastImage_ = image.sequence;
  if (decision.keyFrame) {
    sinceKey_ = 0;
    lastKeyTime_ = time;
  }
  ++sinceKey_;
  lastWasKey_ = decision.keyFrame;
  plan_.sent(decision, data->size() * 8);

  EncodedSample sample;
  sample.data = std::move(data);
  sample.notSync = !decision.keyFrame;
  if (decision.keyFrame) sample.parameterSets = encoder_.parameterSets();
  return sample;
}

bool ScreenEncoder::keyFrameIsDue(HostTime time) const {
  if (!lastKeyTime_) return true;
  // The next picture would come too late by half of its time.
  const auto half =
      std::chrono::nanoseconds(std::chrono::seconds(1)) / settings_.encoder.framesPerSecond / 2;
  return sinceKey_ >= settings_.maxKeyFrameInterval ||
         time - *lastKeyTime_ + half > settings_.maxKeyFrameDuration;
}

void ScreenEncoder::compare(const Nv12Image& image, PicturePlan::Tick& tick) {
  for (std::size_t i = 0; i < unchanged_.size(); ++i) {
    if (image.changedAt[i] > lastImage_) {
      ++tick.changed;
    } else if (quantisers_[i] > PicturePlan::goodQuantiser) {
      ++tick.coarse;
    }
  }
}

/// Tells the encoder what it need not look at, and keeps in mind how the rest will come out.
void ScreenEncoder::mark(const Nv12Image& image, const PicturePlan::Decision& decision) {
  for (std::size_t i = 0; i < unchanged_.size(); ++i) {
    const bool changed = image.changedAt[i] > lastImage_;
    const bool coarse = decision.refine && quantisers_[i] > decision.quantiser;
    const bool encoded = decision.keyFrame || changed || coarse;
    unchanged_[i] = encoded ? 0 : X264Encoder::unchangedMark();
    if (encoded) quantisers_[i] = static_cast<std::uint8_t>(decision.quantiser);
  }
}

/// A key frame needs no other picture, so one that came out too large is only made anew: nobody has
/// seen it.
std::optional<Bytes> ScreenEncoder::produceInTheLimit(const Nv12Image& image,
                                                      PicturePlan::Decision& decision) {
  auto data = produce(image, decision);
  int keyFrames = decision.keyFrame ? 1 : 0;
  while (data && data->size() * 8 > decision.mostBits) {
    const auto smaller = PicturePlan::smaller(decision, data->size() * 8, unchanged_.size());
    if (!smaller) break;
    decision = *smaller;
    data = produce(image, decision);
    ++keyFrames;
  }
  // The encoder gives its key frames one of two identifiers by turns. Two that are sent one after
  // the other must differ in it.
  if (data && lastWasKey_ && keyFrames > 0 && keyFrames % 2 == 0) data = produce(image, decision);
  return data;
}

std::optional<Bytes> ScreenEncoder::produce(const Nv12Image& image,
                                            const PicturePlan::Decision& decision) {
  using Action = PicturePlan::Action;
  if (decision.action == Action::skip && syntax_) {
    auto data = skip();
    ++nextNumber_;
    return data;
  }
  if (decision.action == Action::repeatKey && !lastKey_.empty()) {
    nextNumber_ = 1;
    return lastKey_;
  }
  mark(image, decision);
  auto units = encoder_.encode(image, {decision.keyFrame, decision.quantiser, &unchanged_});
  if (!units) return std::nullopt;
  if (decision.keyFrame) {
    nextNumber_ = encoderNextNumber_ = 1;
    lastKey_ = *units;
    return units;
  }
  lastKey_.clear();
  auto moved = numbered(std::move(*units));
  ++nextNumber_;
  ++encoderNextNumber_;
  return moved;
}

Bytes ScreenEncoder::skip() const {
  Bytes data;
  appendUnit(data, h264::skipPicture(*syntax_, nextNumber_ & ((1U << syntax_->frameNumberBits) - 1),
                                     static_cast<std::uint32_t>(unchanged_.size())));
  return data;
}

/// The encoder's units with the numbers that their pictures have in the stream.
Bytes ScreenEncoder::numbered(Bytes units) const {
  if (!syntax_ || nextNumber_ == encoderNextNumber_) return units;
  Bytes data;
  data.reserve(units.size() + 8);
  for (h264::ByteView rest = units; rest.size() >= lengthSize;) {
    const std::size_t length = lengthAt(rest);
    if (length > rest.size() - lengthSize) break;
    appendUnit(data, h264::withFrameNumberMoved(rest.subspan(lengthSize, length), *syntax_,
                                                nextNumber_ - encoderNextNumber_));
    rest = rest.subspan(lengthSize + length);
  }
  return data;
}

}  // namespace vesk::picture
