#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "platform/Compression.h"
#include "platform/linux/picture/MacroblockMarks.h"
#include "platform/linux/picture/Nv12Image.h"
#include "platform/linux/picture/PicturePlan.h"
#include "platform/linux/picture/X264Encoder.h"
#include "platform/linux/picture/composed/KeyFrameComposer.h"
#include "platform/linux/picture/composed/PictureComposer.h"
#include "platform/linux/picture/h264/SliceSyntax.h"
#include "platform/linux/picture/h264/level.h"

namespace vesk::picture {

struct ScreenEncoderSettings {
  X264Settings encoder;
  std::int64_t bitRate = 1'000'000;        ///< bits per second, on average
  std::int64_t maxKeyFrameInterval = 120;  ///< frames
  std::chrono::nanoseconds maxKeyFrameDuration{4'000'000'000};
  /// Pictures in which little changes are put together from small pieces; a decoder that cannot
  /// take many slices in a picture needs it to be false.
  bool composes = true;
};

/// Turns the images of a screen into pictures of one H.264 stream, each with as little work as it
/// needs: pictures without a change, and those in which little has changed, are put in between
/// those that the encoder makes, and the frame numbers of the encoder's pictures move on
/// accordingly.
///
/// Thread: one at a time. Owns: the encoder. Fails: as an encoder that is false, and as a picture
/// that is missing; the stream goes on with the next one.
class ScreenEncoder {
 public:
  explicit ScreenEncoder(const ScreenEncoderSettings& settings);

  explicit operator bool() const { return static_cast<bool>(encoder_); }

  /// A rate beyond the level with which the stream has begun counts as that level's highest.
  void setBitRate(std::int64_t bitRate);

  /// `image` comes from the same stream of images as the ones before. It is kept, so that the next
  /// one can be compared with it, and is not to be painted on.
  std::optional<EncodedSample> encode(std::shared_ptr<const Nv12Image> image, HostTime time,
                                      bool forceKeyFrame);

  /// The last picture as a decoder has it; valid until the next one.
  PlanesView reconstruction() const { return encoder_.reconstruction().view(); }

 private:
  using Bytes = std::vector<std::byte>;

  std::chrono::nanoseconds untilKeyFrame(HostTime time) const;
  PicturePlan::Tick tickOf(const Nv12Image& image, HostTime time, bool forceKeyFrame);
  std::optional<Bytes> produceInTheLimit(const Nv12Image& image, PicturePlan::Decision& decision);
  std::optional<Bytes> produce(const Nv12Image& image, PicturePlan::Decision& decision);
  std::optional<Bytes> encode(const Nv12Image& image, const PicturePlan::Decision& decision);
  std::optional<Bytes> composeKey(const Nv12Image& image, const PicturePlan::Decision& decision);
  std::optional<Bytes> move(const Nv12Image& image, PicturePlan::Decision& decision);
  std::optional<Bytes> compose(const Nv12Image& image, const PicturePlan::Decision& decision,
                               const std::vector<composed::Run>& windows,
                               const composed::MovedBlocks* moved);
  void readSyntax();
  void changeEncoderIfNeeded();
  Bytes skip() const;
  Bytes numbered(Bytes units) const;

  ScreenEncoderSettings settings_;
  h264::Level level_;
  X264Encoder encoder_;
  std::optional<h264::SliceSyntax> syntax_;  ///< nothing: no picture can be put in between
  std::optional<composed::PictureComposer> composer_;      ///< nothing: the encoder makes them all
  std::optional<composed::KeyFrameComposer> keyComposer_;  ///< the same of key frames
  PicturePlan plan_;
  MacroblockMarks marks_;
  std::shared_ptr<const Nv12Image> before_;  ///< what the last picture shows
  std::optional<composed::FoundMove> move_;  ///< from there to the image under way
  std::optional<HostTime> lastTime_;
  std::optional<HostTime> lastKeyTime_;
  bool lastWasKey_ = false;
  std::uint32_t encoderKeys_ = 0;        ///< key frames that the encoder has made
  std::uint32_t keyIdentifier_ = 0;      ///< of the key frame that was made last
  std::uint32_t sentKeyIdentifier_ = 0;  ///< of the one that was sent last
  std::int64_t sinceKey_ = 0;            ///< pictures sent from the key frame on, itself included

  std::uint32_t nextNumber_ = 0;         ///< the frame number of the next picture
  std::uint32_t encoderNextNumber_ = 0;  ///< the one that the encoder will write
  Bytes lastKey_;                        ///< kept for as long as it may be repeated
};

}  // namespace vesk::picture
