#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "rates/Content.h"

namespace vesk::rates {

/// What one stream of a content came to on a link of the rate that was asked for.
struct Measured {
  double bitRate = 0;               ///< bits per second over the whole run
  double mostOverThreeSeconds = 0;  ///< of what the link takes in that time
  double worstDelay = 0;            ///< seconds
  double delayOf95Percent = 0;
  double meanQuality = 0;   ///< PSNR-Y in decibels; of what moves, while it does
  double leastSettled = 0;  ///< the same, once everything has had time to become good
  double finalQuality = 0;
  double pulse = 0;  ///< the most by which a settled key frame differs from the picture before
  int level = 0;     ///< ten times its name
  double milliseconds = 0;          ///< of processor time per second of the stream
  std::vector<std::string> faults;  ///< that a decoder or the level's limits found
};

struct Run {
  const Content& content;
  PixelSize size;
  int kilobitsPerSecond = 0;
  /// Where the decoded pictures of certain numbers go, and each picture's figures; nowhere if
  /// empty.
  std::string pictureFolder;
  std::vector<int> keptPictures;
  bool trace = false;
};

/// Makes one access unit, in Annex B's byte stream format, of each image.
using Image = std::shared_ptr<const picture::Nv12Image>;
using Encode = std::function<std::vector<std::byte>(const Image&)>;

/// Encodes, decodes and compares. Throws when the decoder is not there.
Measured measure(const Run& run, const Encode& encode);

}  // namespace vesk::rates
