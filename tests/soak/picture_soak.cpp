// Streams all sorts of content at random sizes and rates, and compares every picture that decoders
// make of them with the encoder's own.
//
//     picture_soak MINUTES [SEED]      of thirty pictures a second; two minutes run with the tests

#include <array>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <random>
#include <string>

#include "capture/annexB.h"
#include "platform/linux/picture/ScreenEncoder.h"
#include "platform/linux/picture/h264/units.h"
#include "support/H264Decoder.h"
#include "support/LevelCheck.h"
#include "support/MixedScreen.h"
#include "support/pictureSum.h"

namespace {

using namespace vesk;
using namespace vesk::picture;
namespace support = vesk::testing;

constexpr int picturesPerMinute = 30 * 60;
constexpr std::chrono::nanoseconds pictureTime{33'333'333};

/// In the order in which a decoder's picture is summed.
std::uint32_t sumOf(const PlanesView& planes, PixelSize size) {
  const auto width = static_cast<std::size_t>(size.width);
  const auto height = static_cast<int>(size.height);
  std::uint32_t sum = 0;
  for (int y = 0; y < height; ++y) sum = support::pictureSum({planes.lumaAt(0, y), width}, sum);
  std::vector<std::uint8_t> row(width / 2);
  for (const std::size_t which : {0U, 1U}) {
    for (int y = 0; y < height; y += 2) {
      // By pointers, which are fast where nothing is inlined too.
      const std::uint8_t* sample = planes.chromaAt(0, y) + which;
      std::uint8_t* summed = row.data();
      for (const auto* const end = summed + row.size(); summed != end; sample += 2)
        *summed++ = *sample;
      sum = support::pictureSum(row, sum);
    }
  }
  return sum;
}

struct Counts {
  int pictures = 0;
  int keys = 0;
  int skips = 0;
  int whole = 0;     ///< by the encoder of the whole picture
  int composed = 0;  ///< from several slices
  std::size_t mostSlices = 0;
};

/// One size, one encoder, some seconds. Ends the program where anything differs.
class Segment {
 public:
  Segment(std::mt19937& random, const std::string& name, Counts& counts)
      : random_(random),
        name_(name),
        counts_(counts),
        size_(sizeFor(random)),
        screen_(size_, static_cast<unsigned>(random())),
        encoder_(settingsFor(random)) {
    if (!encoder_) fail("the encoder does not open");
  }

  void run(int pictures) {
    for (int number = 0; number < pictures; ++number) {
      if (random_() % 90 == 0) encoder_.setBitRate(rateFor(random_));
      const auto sample =
          encoder_.encode(screen_.image(), time_ += pictureTime, random_() % 150 == 0);
      if (!sample || !sample->data) fail("no picture " + std::to_string(number));
      count(*sample);
      const auto unit = annexB(*sample).value_or(Bytes{});
      levels_.add(unit);
      const auto expected = sumOf(encoder_.reconstruction(), size_);
      if (decoder_.decodeToSum(unit) != expected) {
        fail("OpenH264 sees picture " + std::to_string(number) + " otherwise");
      }
      stream_.insert(stream_.end(), unit.begin(), unit.end());
      sums_.push_back(expected);
      screen_.goOn();
    }
    const auto seen = support::sumsByFfmpeg(stream_);
    if (seen.sums != sums_) fail("ffmpeg sees it otherwise: " + seen.messages);
    for (const auto& fault : levels_.faults()) fail(fault);
  }

 private:
  static PixelSize sizeFor(std::mt19937& random) {
    if (random() % 12 == 0) return {1920, 1080};
    const auto edge = [&](unsigned most) {
      return static_cast<std::int64_t>(32 + random() % most / 2 * 2);
    };
    const auto width = edge(900);
    return {width, edge(500)};
  }

  static std::int64_t rateFor(std::mt19937& random) {
    constexpr std::array rates{100'000, 300'000, 1'000'000, 4'000'000, 12'000'000};
    return rates[random() % rates.size()];
  }

  ScreenEncoderSettings settingsFor(std::mt19937& random) const {
    ScreenEncoderSettings settings;
    settings.encoder.width = static_cast<std::int32_t>(size_.width);
    settings.encoder.height = static_cast<std::int32_t>(size_.height);
    settings.bitRate = rateFor(random);
    settings.maxKeyFrameInterval = 120;
    return settings;
  }

  void count(const EncodedSample& sample) {
    const auto units = h264::unitsOf(*sample.data);
    ++counts_.pictures;
    counts_.mostSlices = std::max(counts_.mostSlices, units.size());
    if (sample.notSync == false) {
      ++counts_.keys;
    } else if (units.size() > 1) {
      ++counts_.composed;
    } else if (sample.data->size() < 20) {
      ++counts_.skips;
    } else {
      ++counts_.whole;
    }
  }

  [[noreturn]] void fail(const std::string& what) const {
    std::cerr << name_ << ", " << size_.width << "x" << size_.height << ": " << what << '\n';
    std::exit(EXIT_FAILURE);
  }

  std::mt19937& random_;
  std::string name_;
  Counts& counts_;
  PixelSize size_;
  support::MixedScreen screen_;
  ScreenEncoder encoder_;
  support::H264Decoder decoder_;
  support::LevelCheck levels_;
  HostTime time_{std::chrono::hours(1)};
  std::vector<std::byte> stream_;
  std::vector<std::uint32_t> sums_;
};

}  // namespace

int main(int argc, char* argv[]) {
  const int minutes = argc > 1 ? std::atoi(argv[1]) : 0;
  const unsigned seed = argc > 2 ? static_cast<unsigned>(std::atoi(argv[2])) : 1;
  if (minutes < 1) {
    std::cerr << "picture_soak: say how many minutes of pictures, and perhaps a seed\n";
    return 2;
  }
  constexpr int segment = 360;
  Counts counts;
  for (unsigned number = 0; counts.pictures < minutes * picturesPerMinute; ++number) {
    std::mt19937 random(seed * 1'000'003 + number);
    Segment(random, "seed " + std::to_string(seed) + ", part " + std::to_string(number), counts)
        .run(segment);
  }
  std::cout << counts.pictures << " pictures alike: " << counts.keys << " key frames, "
            << counts.whole << " encoded, " << counts.composed << " composed of up to "
            << counts.mostSlices << " slices, " << counts.skips << " that skip all\n";
  // A stream without one of its ways proves little.
  return counts.whole > 0 && counts.composed > 0 && counts.skips > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
