#include "platform/linux/picture/ScreenEncoder.h"

#include <algorithm>
#include <utility>

#include "platform/linux/picture/composed/reconstructionIsReference.h"
#include "platform/linux/picture/h264/frameNumber.h"
#include "platform/linux/picture/h264/skipPicture.h"
#include "platform/linux/picture/h264/units.h"

namespace vesk::picture {
namespace {

using Bytes = std::vector<std::byte>;
std::size_t macroblocksOf(const X264Settings& settings) {
  return static_cast<std::size_t>(macroblocksAcross(settings.width)) *
         static_cast<std::size_t>(macroblocksAcross(settings.height));
}

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
      plan_(macroblocksOf(settings.encoder), mostBitsOf(level_), rangeFor(settings)),
      marks_(macroblocksAcross(settings.encoder.width),
             macroblocksAcross(settings.encoder.height)) {
  setBitRate(settings.bitRate);
  if (encoder_) readSyntax();
}

void ScreenEncoder::readSyntax() {
  syntax_ = h264::sliceSyntax(encoder_.parameterSets());
  composer_.reset();
  keyComposer_.reset();
  if (!settings_.composes || !syntax_ || !composed::reconstructionIsReference()) return;
  const X264Settings same = encoderSettings(settings_, level_);
  composer_.emplace(same, *syntax_);
  // Where bits are scarce, what is not foretold across the border of two slices counts.
  if (same.quantisers != QuantiserRange{}) return;
  keyComposer_.emplace(same, *syntax_, level_.mostSlices);
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

std::optional<EncodedSample> ScreenEncoder::encode(std::shared_ptr<const Nv12Image> image,
                                                   HostTime time, bool forceKeyFrame) {
  if (image->size() != PixelSize{settings_.encoder.width, settings_.encoder.height}) {
    return std::nullopt;
  }
  const auto tick = tickOf(*image, time, forceKeyFrame);
  lastTime_ = time;
  if (tick.keyFrame) changeEncoderIfNeeded();

  auto decision = plan_.next(tick);
  auto data = produceInTheLimit(*image, decision);
  if (!data) return std::nullopt;
  const bool newKey = decision.keyFrame && decision.action == PicturePlan::Action::encode;
  const double quality = newKey ? encoder_.quality(*image) : 0;
  plan_.sent(decision, static_cast<double>(data->size() * 8), quality);
  // What was left out is still to come.
  if (decision.action != PicturePlan::Action::hold) before_ = std::move(image);
  if (decision.keyFrame) {
    sinceKey_ = 0;
    lastKeyTime_ = time;
    sentKeyIdentifier_ = keyIdentifier_;
  }
  ++sinceKey_;
  lastWasKey_ = decision.keyFrame;

  EncodedSample sample;
  sample.data = std::move(data);
  sample.notSync = !decision.keyFrame;
  if (decision.keyFrame) sample.parameterSets = encoder_.parameterSets();
  return sample;
}

PicturePlan::Tick ScreenEncoder::tickOf(const Nv12Image& image, HostTime time, bool forceKeyFrame) {
  PicturePlan::Tick tick;
  marks_.compare(image, before_ ? before_->sequence : 0, plan_.bearable(), tick);
  if (lastTime_) tick.elapsed = time - *lastTime_;
  tick.untilKey = untilKeyFrame(time);
  tick.bitRate = settings_.bitRate;
  tick.keyFrame = forceKeyFrame || tick.untilKey <= std::chrono::nanoseconds::zero();
  if (!composer_) return tick;
  tick.mostPieces = composed::mostRuns(level_.mostSlices);
  if (tick.keyFrame || before_ == nullptr || tick.changed < composed::fewestMoved) return tick;
  const std::size_t mostLeft = macroblocksOf(settings_.encoder) / PicturePlan::composedPart;
  move_ = composed::findMove(*before_, image,
                             {composed::farthestShift(level_.number), mostLeft, &marks_.faded()});
  if (move_) tick.moved = marks_.compare(*move_);
  return tick;
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

/// A key frame needs no other picture, so one that came out too large is only made anew: nobody has
/// seen it.
std::optional<Bytes> ScreenEncoder::produceInTheLimit(const Nv12Image& image,
                                                      PicturePlan::Decision& decision) {
  auto data = produce(image, decision);
  while (data) {
    const auto other = plan_.instead(decision, static_cast<double>(data->size() * 8));
    if (!other) break;
    decision = *other;
    data = produce(image, decision);
  }
  const bool isNewKey = decision.keyFrame && decision.action == PicturePlan::Action::encode;
  // Two key frames that are sent one after the other must differ in their identifiers.
  if (data && lastWasKey_ && isNewKey && keyIdentifier_ == sentKeyIdentifier_) {
    data = produce(image, decision);
  }
  return data;
}

std::optional<Bytes> ScreenEncoder::produce(const Nv12Image& image,
                                            PicturePlan::Decision& decision) {
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
  if (decision.moves) {
    if (auto units = move(image, decision)) return units;
    decision.composed = decision.moves = false;
  }
  if (decision.keyFrame) {
    if (auto units = composeKey(image, decision)) return units;
  }
  return encode(image, decision);
}

std::optional<Bytes> ScreenEncoder::encode(const Nv12Image& image,
                                           const PicturePlan::Decision& decision) {
  const bool keepsCoarse = marks_.mark(decision);
  if (decision.composed) {
    if (auto units = compose(image, decision, marks_.windows(), nullptr)) return units;
  }
  auto units = encoder_.encode(image, {decision.keyFrame, decision.quantiser, &marks_.unchanged(),
                                       keepsCoarse, decision.searchesFar});
  if (!units) return std::nullopt;
  if (decision.keyFrame) {
    // The encoder gives its key frames one of two by turns.
    keyIdentifier_ = ++encoderKeys_ % 2;
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

/// Nothing for the first picture of an encoder, which must be its own.
std::optional<Bytes> ScreenEncoder::composeKey(const Nv12Image& image,
                                               const PicturePlan::Decision& decision) {
  if (!keyComposer_ || encoder_.reconstruction().luma == nullptr) return std::nullopt;
  // Neither is the encoder's own.
  constexpr std::uint32_t one = 2;
  constexpr std::uint32_t other = 3;
  const std::uint32_t identifier = sentKeyIdentifier_ == one ? other : one;
  auto units =
      keyComposer_->compose(image, encoder_.reconstruction(), {decision.quantiser, identifier});
  if (!units) return std::nullopt;
  marks_.mark(decision);
  keyIdentifier_ = identifier;
  nextNumber_ = 1;
  lastKey_ = *units;
  return units;
}

/// What is coarse beside the move may lie in too many pieces, and is left to later pictures then.
/// Of a picture that is not made nothing is remembered.
std::optional<Bytes> ScreenEncoder::move(const Nv12Image& image, PicturePlan::Decision& decision) {
  const MacroblockMarks before = marks_;
  marks_.mark(decision, *move_);
  auto windows = marks_.windows(*move_);
  if (windows.size() > composed::mostRuns(level_.mostSlices) && decision.refined > 0) {
    decision.macroblocks -= decision.refined;
    decision.refined = 0;
    marks_ = before;
    marks_.mark(decision, *move_);
    windows = marks_.windows(*move_);
  }
  auto units = compose(image, decision, windows, &move_->moved);
  if (!units) marks_ = before;
  return units;
}

/// Nothing where it would take more slices than it may.
std::optional<Bytes> ScreenEncoder::compose(const Nv12Image& image,
                                            const PicturePlan::Decision& decision,
                                            const std::vector<composed::Run>& windows,
                                            const composed::MovedBlocks* moved) {
  if (windows.size() > composed::mostRuns(level_.mostSlices)) return std::nullopt;
  auto units = composer_->compose(
      image, encoder_.reconstruction(),
      {windows, marks_.unchanged(), decision.quantiser, nextNumber_, moved, decision.searchesFar});
  if (!units) return std::nullopt;
  lastKey_.clear();
  ++nextNumber_;
  return units;
}

Bytes ScreenEncoder::skip() const {
  Bytes data;
  h264::appendUnit(data,
                   h264::skipPicture(*syntax_, nextNumber_,
                                     static_cast<std::uint32_t>(macroblocksOf(settings_.encoder))));
  return data;
}

/// The encoder's units with the numbers that their pictures have in the stream.
Bytes ScreenEncoder::numbered(Bytes units) const {
  if (!syntax_ || nextNumber_ == encoderNextNumber_) return units;
  Bytes data;
  data.reserve(units.size() + 8);
  for (const h264::ByteView unit : h264::unitsOf(units)) {
    h264::appendUnit(data,
                     h264::withFrameNumberMoved(unit, *syntax_, nextNumber_ - encoderNextNumber_));
  }
  return data;
}

}  // namespace vesk::picture
