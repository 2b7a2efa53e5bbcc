#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "platform/Compression.h"
#include "platform/linux/picture/Nv12Image.h"
#include "platform/linux/picture/Planes.h"
#include "platform/linux/picture/QuantiserRange.h"

struct x264_t;

namespace vesk::picture {

struct X264Settings {
  std::int32_t width = 0;
  std::int32_t height = 0;
  std::int64_t framesPerSecond = 30;
  QuantiserRange quantisers = {};
  int level = 0;  ///< ten times its name; nought: the lowest that the size and the rate need
  bool sliceEachRow = false;  ///< of macroblocks; else a picture is one slice
  /// In pixels; nought: as far as the level lets anything move. Little saves a small picture's
  /// encoder most of its memory.
  int farthestVector = 0;
};

/// x264 with the settings of a live screen: constrained baseline, no delayed frames, key frames
/// only on demand, each picture at the quantiser that it is asked for.
///
/// Thread: one at a time. Owns: the encoder. Fails: the constructor leaves an object that is false;
/// an image that cannot be encoded gives nothing.
class X264Encoder {
 public:
  using Bytes = std::vector<std::byte>;

  explicit X264Encoder(const X264Settings& settings);

  explicit operator bool() const { return encoder_ != nullptr; }

  /// Sequence and picture parameter set, without lengths or start codes.
  const std::vector<Bytes>& parameterSets() const { return parameterSets_; }

  struct Request {
    bool keyFrame = false;
    int quantiser = 0;
    std::vector<std::uint8_t>* unchanged = nullptr;  ///< non-zero per macroblock without a change
    /// Some of those were encoded more coarsely than this picture, and are to stay so.
    bool keepsCoarse = false;
    bool searchesFar = false;  ///< for what has moved, at a price
  };

  /// The NAL units of one picture, each behind its length as four bytes, big-endian.
  std::optional<Bytes> encode(const Nv12Image& image, const Request& request);

  /// The same of pixels of the encoder's size, without anything that is to stay coarse.
  std::optional<Bytes> encode(const PlanesView& pixels, const Request& request);

  /// The last picture as a decoder has it, whole macroblocks with a border around them: the
  /// encoder's own memory, valid until the next picture. The next picture refers to it, with what
  /// has been written to it meanwhile, where `composed::reconstructionIsReference()`.
  const Planes& reconstruction() const { return reference_; }

  /// How much the last picture is like an image: the signal-to-noise ratio of its luma in decibels.
  double quality(const Nv12Image& image) const;

  /// What an unchanged macroblock is marked with.
  static std::uint8_t unchangedMark();

 private:
  struct Close {
    void operator()(x264_t* encoder) const;
  };

  void readParameterSets();
  void search(bool far);
  const Nv12Image& withReference(const Nv12Image& image, const std::vector<std::uint8_t>& kept);

  X264Settings settings_;
  std::unique_ptr<x264_t, Close> encoder_;
  std::vector<Bytes> parameterSets_;
  std::int64_t frames_ = 0;
  bool searchesFar_ = false;
  Planes reference_;
  std::optional<Nv12Image> mixed_;
};

}  // namespace vesk::picture
