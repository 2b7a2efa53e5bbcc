#include "platform/linux/picture/ScreenEncoder.h"

#include <algorithm>
#include <array>
#include <utility>

#include "platform/linux/picture/h264/frameNumber.h"
#include "platform/linux/picture/h264/skipPicture.h"

namespace vesk::picture {
namespace {

using Bytes = std::vector<std::byte>;
constexpr std::size_t lengthSize = 4;

constexpr std::uint8_t worstQuantiser = PicturePlan::worstQuantiser;

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

/// Some of many macroblocks, in short rows spread evenly over the picture: what they take is then
/// as much of what all take as they are of all.
class Portion {
 public:
  Portion(std::size_t some, std::size_t all) : some_(some), all_(all) {}

  bool next() {
    constexpr std::size_t rowLength = 6;
    if (seen_++ % rowLength == 0) {
      owed_ += some_;
      taking_ = all_ > 0 && owed_ >= all_;
      if (taking_) owed_ -= all_;
    }
    return taking_;
  }

 private:
  std::size_t some_;
  std::size_t all_;
  std::size_t seen_ = 0;
  std::size_t owed_ = 0;
  bool taking_ = false;
};

QuantiserRange rangeFor(const ScreenEncoderSettings& settings) {
  return quantiserRangeFor(static_cast<std::int64_t>(macroblocksOf(settings.encoder)),
                           settings.bitRate);
}

h264::Level levelOf(const ScreenEncoderSettings& settings) {
  const auto& encoder = settings.encoder;
  return h264::levelFor(encoder.width, encoder.height, encoder.framesPerSecond, settings.bitRate);
}

X264Settings encoderSettings(const ScreenEncoderSettings& settings, const h264::Level& level) {
  X264Settings all = settings.encoder;
  all.level = level.number;
  all.quantisers = rangeFor(settings);
  return all;
}

/// No access unit may come near the megabyte at which a reader of frames gives up, and the
/// parameter sets count too.
double mostBitsOf(const h264::Level& level) {
  constexpr std::size_t mostBytes = 1'000'000;
  constexpr std::size_t parameterSets = 100;
  return static_cast<double>(std::min(level.mostPictureBytes, mostBytes) - parameterSets) * 8;
}

}  // namespace

ScreenEncoder::ScreenEncoder(const ScreenEncoderSettings& settings)
    : settings_(settings),
      level_(levelOf(settings)),
      encoder_(encoderSettings(settings, level_)),
      plan_(macroblocksOf(settings.encoder), mostBitsOf(level_), rangeFor(settings)) {
  setBitRate(settings.bitRate);
  if (!encoder_) return;
  unchanged_.resize(macroblocksOf(settings.encoder));
  quantisers_.assign(unchanged_.size(), worstQuantiser);
  readSyntax();
}

void ScreenEncoder::readSyntax() {
  const auto& sets = encoder_.parameterSets();
  syntax_ = sets.size() == 2 ? h264::sliceSyntax(sets[0], sets[1]) : std::nullopt;
}

/// Another rate may want another range of quantisers, which an encoder has from its beginning on. A
/// key frame is where another may take its place: but for one straight after a key frame, from
/// which its identifier must differ.
void ScreenEncoder::changeEncoderIfNeeded() {
  const auto wanted = encoderSettings(settings_, level_);
  if (wanted.quantisers == plan_.range() || lastWasKey_) return;
  X264Encoder other(wanted);
  if (!other) return;
  encoder_ = std::move(other);
  plan_.setRange(wanted.quantisers);
  lastKey_.clear();
  readSyntax();
}

void ScreenEncoder::setBitRate(std::int64_t bitRate) {
  settings_.bitRate = std::min(bitRate, level_.mostBitRate);
}

std::optional<EncodedSample> ScreenEncoder::encode(const Nv12Image& image, HostTime time,
                                                   bool forceKeyFrame) {
  if (image.size() != PixelSize{settings_.encoder.width, settings_.encoder.height}) {
    return std::nullopt;
  }
  PicturePlan::Tick tick;
  compare(image, tick);
  if (lastTime_) tick.elapsed = time - *lastTime_;
  tick.untilKey = untilKeyFrame(time);
  tick.bitRate = settings_.bitRate;
  tick.keyFrame = forceKeyFrame || tick.untilKey <= std::chrono::nanoseconds::zero();
  lastTime_ = time;
  if (tick.keyFrame) changeEncoderIfNeeded();

  auto decision = plan_.next(tick);
  auto data = produceInTheLimit(image, decision);
  if (!data) return std::nullopt;
  // What was left out is still to come.
  if (decision.action != PicturePlan::Action::hold) lastImage_ = image.sequence;
  if (decision.keyFrame) {
    sinceKey_ = 0;
    lastKeyTime_ = time;
  }
  ++sinceKey_;
  lastWasKey_ = decision.keyFrame;
  const bool newKey = decision.keyFrame && decision.action == PicturePlan::Action::encode;
  plan_.sent(decision, static_cast<double>(data->size() * 8), newKey ? encoder_.quality(image) : 0);

  EncodedSample sample;
  sample.data = std::move(data);
  sample.notSync = !decision.keyFrame;
  if (decision.keyFrame) sample.parameterSets = encoder_.parameterSets();
  return sample;
}

std::chrono::nanoseconds ScreenEncoder::untilKeyFrame(HostTime time) const {
  if (!lastKeyTime_) return {};
  const auto each =
      std::chrono::nanoseconds(std::chrono::seconds(1)) / settings_.encoder.framesPerSecond;
  const auto byNumber =
      each * std::clamp<std::int64_t>(settings_.maxKeyFrameInterval - sinceKey_, 0, 1'000'000);
  const auto byTime = settings_.maxKeyFrameDuration - (time - *lastKeyTime_);
  // The next picture would come too late by half of its time.
  return byTime < each / 2 ? std::chrono::nanoseconds::zero() : std::min(byNumber, byTime);
}

/// Of what has not changed, the coarsest macroblocks are told of, and those that are much like
/// them.
void ScreenEncoder::compare(const Nv12Image& image, PicturePlan::Tick& tick) {
  std::array<std::size_t, worstQuantiser + 1> count{};
  for (std::size_t i = 0; i < unchanged_.size(); ++i) {
    if (image.changedAt[i] > lastImage_) {
      ++tick.changed;
    } else {
      ++count[quantisers_[i]];
    }
  }
  const int bearable = plan_.bearable();
  int worst = worstQuantiser;
  while (worst > bearable && count[static_cast<std::size_t>(worst)] == 0) --worst;
  coarseFrom_ = std::max(bearable, worst - PicturePlan::alike) + 1;
  std::size_t sum = 0;
  for (int quantiser = coarseFrom_; quantiser <= worst; ++quantiser) {
    const std::size_t here = count[static_cast<std::size_t>(quantiser)];
    tick.coarse += here;
    sum += here * static_cast<std::size_t>(quantiser);
  }
  coarse_ = tick.coarse;
  if (tick.coarse > 0) tick.coarseQuantiser = static_cast<int>(sum / tick.coarse);
}

/// Tells the encoder what it need not look at, and keeps in mind how the rest will come out. True
/// if something is to stay coarser than the picture.
bool ScreenEncoder::mark(const Nv12Image& image, const PicturePlan::Decision& decision) {
  Portion portion(decision.refined, coarse_);
  bool keepsCoarse = false;
  for (std::size_t i = 0; i < unchanged_.size(); ++i) {
    const bool changed = image.changedAt[i] > lastImage_;
    const bool coarse = !changed && quantisers_[i] >= coarseFrom_;
    const bool better = coarse && portion.next() && quantisers_[i] > decision.quantiser;
    const bool encoded = decision.keyFrame || changed || better;
    unchanged_[i] = encoded ? 0 : X264Encoder::unchangedMark();
    if (encoded) {
      quantisers_[i] = static_cast<std::uint8_t>(decision.quantiser);
    } else if (quantisers_[i] > decision.quantiser) {
      keepsCoarse = true;
    }
  }
  return keepsCoarse;
}

/// A key frame needs no other picture, so one that came out too large is only made anew: nobody has
/// seen it.
std::optional<Bytes> ScreenEncoder::produceInTheLimit(const Nv12Image& image,
                                                      PicturePlan::Decision& decision) {
  auto data = produce(image, decision);
  int keyFrames = decision.keyFrame ? 1 : 0;
  while (data) {
    const auto other = plan_.instead(decision, static_cast<double>(data->size() * 8));
    if (!other) break;
    decision = *other;
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
  if ((decision.action == Action::skip || decision.action == Action::hold) && syntax_) {
    auto data = skip();
    ++nextNumber_;
    return data;
  }
  if (decision.action == Action::repeatKey && !lastKey_.empty()) {
    nextNumber_ = 1;
    return lastKey_;
  }
  const bool keepsCoarse = mark(image, decision);
  auto units = encoder_.encode(image, {decision.keyFrame, decision.quantiser, &unchanged_,
                                       keepsCoarse, decision.searchesFar});
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
