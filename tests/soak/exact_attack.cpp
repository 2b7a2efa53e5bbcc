// Streams of odd sizes, paces, rates and times, each picture against two decoders; headers too.
//
//     exact_attack SEEDS [FIRST]

#include <array>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <random>
#include <string>

#include "capture/annexB.h"
#include "platform/linux/picture/ScreenEncoder.h"
#include "platform/linux/picture/h264/bits.h"
#include "platform/linux/picture/h264/emulationPrevention.h"
#include "platform/linux/picture/h264/units.h"
#include "support/H264Decoder.h"
#include "support/LevelCheck.h"
#include "support/imageStream.h"
#include "support/pictureSum.h"

namespace {

using namespace vesk;
using namespace vesk::picture;
namespace support = vesk::testing;

std::uint32_t sumOf(const PlanesView& planes, PixelSize size) {
  const auto width = static_cast<std::size_t>(size.width);
  const auto height = static_cast<int>(size.height);
  std::uint32_t sum = 0;
  for (int y = 0; y < height; ++y) sum = support::pictureSum({planes.lumaAt(0, y), width}, sum);
  std::vector<std::uint8_t> row(width / 2);
  for (const std::size_t which : {0U, 1U}) {
    for (int y = 0; y < height; y += 2) {
      for (std::size_t x = 0; x < row.size(); ++x) row[x] = planes.chromaAt(0, y)[2 * x + which];
      sum = support::pictureSum(row, sum);
    }
  }
  return sum;
}

struct Totals {
  long pictures = 0, keys = 0, composedKeys = 0, keysInARow = 0, skips = 0, several = 0,
       repeats = 0;
  long changesOfRange = 0;
};

class Segment {
 public:
  Segment(unsigned seed, Totals& totals) : random_(seed), seed_(seed), totals_(totals) {
    const auto edge = [&](int most) {
      return static_cast<std::int64_t>(2 + random_() % static_cast<unsigned>(most) / 2 * 2);
    };
    const int kind = below(8);
    size_ = kind == 0   ? PixelSize{edge(30), edge(30)}
            : kind == 1 ? PixelSize{edge(1200), edge(20)}
            : kind == 2 ? PixelSize{edge(20), edge(1200)}
            : kind == 3 ? PixelSize{1280, 720}
                        : PixelSize{edge(700), edge(500)};
    constexpr std::array paces{1, 2, 5, 7, 10, 15, 24, 30, 48, 60, 90, 120};
    pace_ = paces[random_() % paces.size()];
    regular_ = below(2) == 0;
    border_ = 100 * std::int64_t{macroblocksAcross(size_.width)} * macroblocksAcross(size_.height);
    settings_.encoder.width = static_cast<std::int32_t>(size_.width);
    settings_.encoder.height = static_cast<std::int32_t>(size_.height);
    settings_.encoder.framesPerSecond = pace_;
    settings_.bitRate = rate();
    if (below(4) == 0) settings_.maxKeyFrameInterval = 1 + below(10);
    forceEvery_ = below(3) == 0 ? 2 : below(2) == 0 ? 8 : 60;
    image_ = std::make_shared<Nv12Image>(size_);
    image_->sequence = 1;
    std::fill(image_->changedAt.begin(), image_->changedAt.end(), 1U);
  }

  void run(int pictures) {
    ScreenEncoder encoder(settings_);
    if (!encoder) fail("does not open");
    for (int number = 0; number < pictures; ++number) {
      if (below(20) == 0) encoder.setBitRate(rate());
      const auto sample = encoder.encode(image_, time_, below(forceEvery_) == 0);
      if (!sample || !sample->data) fail("no picture " + std::to_string(number));
      checkHeaders(*sample, number);
      const auto unit = annexB(*sample).value_or(Bytes{});
      levels_.add(unit);
      const auto expected = sumOf(encoder.reconstruction(), size_);
      const auto shown = decoder_.decodeToSum(unit);
      if (shown != expected) {
        fail("OpenH264 sees picture " + std::to_string(number) +
             (shown ? " otherwise" : " not at all"));
      }
      stream_.insert(stream_.end(), unit.begin(), unit.end());
      sums_.push_back(expected);
      goOn();
    }
    const auto seen = support::sumsByFfmpeg(stream_);
    if (seen.sums != sums_) fail("ffmpeg: " + seen.messages);
    for (const auto& fault : levels_.faults()) {
      if (!regular_ && fault.find("overfills") != std::string::npos) continue;
      fail(fault);
    }
  }

 private:
  int below(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }

  std::int64_t rate() {
    constexpr std::array rates{1, 1000, 30'000, 100'000, 300'000, 1'000'000, 4'000'000, 50'000'000};
    switch (below(3)) {
      case 0:
        return border_ - 1;
      case 1:
        return border_;
      default:
        return rates[random_() % rates.size()];
    }
  }

  void goOn() {
    constexpr std::chrono::nanoseconds second(1'000'000'000);
    std::chrono::nanoseconds step = second / pace_;
    if (!regular_) {
      switch (below(8)) {
        case 0:
          step = -step * below(100);
          break;
        case 1:
          step *= below(400);
          break;
        case 2:
          step = std::chrono::nanoseconds(below(3));
          break;
        default:
          break;
      }
    }
    time_ += step;
    image_ = support::nextImage(*image_);
    if (below(10) == 0) image_->sequence += static_cast<unsigned>(below(5));  // images dropped
    const int width = static_cast<int>(size_.width), height = static_cast<int>(size_.height);
    const int happens = below(12);
    if (happens < 3) return;
    PixelRect rect{below(width), below(height), 1 + below(width), 1 + below(height)};
    if (below(2) == 0) rect.width = rect.height = 1 + below(20);
    rect = intersection(rect, {0, 0, width, height});
    if (happens == 3) return support::markPainted(*image_, rect);  // damage without a change
    if (happens == 4) return support::markPainted(*image_, {0, 0, width, height});
    if (happens < 8) return move(rect);
    const auto what = static_cast<unsigned>(random_());
    for (int y = rect.y; y < rect.bottom(); ++y) {
      for (int x = rect.x; x < rect.right(); ++x) {
        const auto value =
            static_cast<std::uint8_t>(what % 4 == 0   ? random_()
                                      : what % 4 == 1 ? what >> 8U
                                                      : (x * 7 + y * 13) / 5 % 2 * 200);
        image_->luma()[y * image_->stride() + x] = value;
        image_->chroma()[y / 2 * image_->stride() + x] =
            what % 4 == 0 ? value : static_cast<std::uint8_t>(what >> (x % 2 ? 16U : 12U));
      }
    }
    // The chroma of a pixel is shared with the one beside it.
    support::markPainted(
        *image_, intersection({rect.x / 2 * 2, rect.y / 2 * 2, rect.width + 2, rect.height + 2},
                              {0, 0, width, height}));
  }

  void move(const PixelRect&) {
    const int width = static_cast<int>(size_.width), height = static_cast<int>(size_.height);
    const PixelRect rect =
        below(2) == 0
            ? PixelRect{0, 0, width, height}
            : intersection({below(width) / 2 * 2, below(height) / 2 * 2, width / 2, height},
                           {0, 0, width, height});
    const int by = (below(90) - 45) / 2 * 2, across = below(3) == 0 ? (below(90) - 45) / 2 * 2 : 0;
    const auto before = support::nextImage(*image_);
    for (int y = rect.y; y < rect.bottom(); ++y) {
      for (int x = rect.x; x < rect.right(); ++x) {
        const int fromY = y + by, fromX = x + across;
        const bool inside =
            fromY >= rect.y && fromY < rect.bottom() && fromX >= rect.x && fromX < rect.right();
        image_->luma()[y * image_->stride() + x] =
            inside ? before->luma()[fromY * image_->stride() + fromX]
                   : static_cast<std::uint8_t>(random_());
        if (y % 2 == 0) {
          image_->chroma()[y / 2 * image_->stride() + x] =
              inside ? before->chroma()[fromY / 2 * image_->stride() + fromX] : std::uint8_t{128};
        }
      }
    }
    support::markPainted(*image_, rect);
  }

  /// Frame numbers and identifiers, slice by slice.
  void checkHeaders(const EncodedSample& sample, int number) {
    if (sample.notSync == false)
      syntax_ = h264::sliceSyntax((*sample.parameterSets)[0], (*sample.parameterSets)[1]);
    if (!syntax_) return;
    std::optional<std::uint32_t> identifier;
    std::optional<std::uint32_t> frame;
    const auto units = h264::unitsOf(*sample.data);
    for (const auto unit : units) {
      const unsigned type = std::to_integer<unsigned>(unit.front()) & 0x1fU;
      if (type != 1 && type != 5) continue;
      if ((type == 5) != (sample.notSync == false)) fail("a slice of the wrong kind");
      const auto raw = h264::unescaped(unit);
      h264::BitReader reader(raw);
      reader.bits(8);
      reader.ue(), reader.ue(), reader.ue();
      const auto here = reader.bits(syntax_->frameNumberBits).value_or(0);
      if (frame && *frame != here) fail("frame numbers differ in one picture");
      frame = here;
      if (type != 5) continue;
      const auto id = reader.ue().value_or(0);
      if (identifier && *identifier != id) fail("identifiers differ in one picture");
      identifier = id;
    }
    const std::uint32_t wanted =
        identifier ? 0 : (lastFrame_ + 1) & ((1U << syntax_->frameNumberBits) - 1);
    if (frame != wanted) fail("frame_num of picture " + std::to_string(number));
    if (identifier && lastIdentifier_ == identifier) {
      fail("idr_pic_id twice at picture " + std::to_string(number));
    }
    ++totals_.pictures;
    totals_.keys += identifier.has_value();
    totals_.composedKeys += identifier && *identifier >= 2;
    totals_.keysInARow += identifier && lastIdentifier_;
    totals_.several += units.size() > 1;
    totals_.skips += !identifier && sample.data->size() < 20;
    lastFrame_ = *frame;
    lastIdentifier_ = identifier;
  }

  [[noreturn]] void fail(const std::string& what) const {
    std::cout << "seed " << seed_ << ", " << size_.width << "x" << size_.height << " at " << pace_
              << (regular_ ? " regular" : " irregular") << " begun with " << settings_.bitRate
              << ": " << what << std::endl;
    throw 1;
  }

  std::mt19937 random_;
  unsigned seed_;
  Totals& totals_;
  PixelSize size_;
  int pace_ = 30;
  bool regular_ = true;
  std::int64_t border_ = 0;
  int forceEvery_ = 60;
  ScreenEncoderSettings settings_;
  std::shared_ptr<Nv12Image> image_;
  HostTime time_{std::chrono::hours(1)};
  support::H264Decoder decoder_;
  support::LevelCheck levels_;
  std::optional<h264::SliceSyntax> syntax_;
  std::uint32_t lastFrame_ = 0;
  std::optional<std::uint32_t> lastIdentifier_;
  std::vector<std::byte> stream_;
  std::vector<std::uint32_t> sums_;
};

}  // namespace

int main(int argc, char* argv[]) {
  const unsigned seeds = argc > 1 ? static_cast<unsigned>(std::atoi(argv[1])) : 20;
  const unsigned first = argc > 2 ? static_cast<unsigned>(std::atoi(argv[2])) : 1;
  Totals totals;
  int faults = 0;
  for (unsigned seed = first; seed < first + seeds; ++seed) {
    try {
      Segment(seed, totals).run(120);
    } catch (int) {
      ++faults;
    }
  }
  std::cout << totals.pictures << " pictures, " << totals.keys << " key frames, "
            << totals.composedKeys << " composed, " << totals.keysInARow << " in a row, "
            << totals.several << " of several slices, " << totals.skips << " skipped, " << faults
            << " faulty streams\n";
  return faults == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
