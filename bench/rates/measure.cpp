#include "rates/measure.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <numeric>

#include "rates/Link.h"
#include "support/H264Decoder.h"
#include "support/LevelCheck.h"

namespace vesk::rates {
namespace {

using testing::Luma;

double threadMilliseconds() {
  timespec time{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

double quality(const Luma& decoded, const picture::Nv12Image& image) {
  std::uint64_t sum = 0;
  for (int y = 0; y < decoded.height; ++y) {
    const auto* a = decoded.pixels.data() + static_cast<std::ptrdiff_t>(y) * decoded.width;
    const auto* b = image.luma() + static_cast<std::ptrdiff_t>(y) * image.stride();
    std::uint32_t row = 0;
    for (int x = 0; x < decoded.width; ++x) {
      const int difference = a[x] - b[x];
      row += static_cast<std::uint32_t>(difference * difference);
    }
    sum += row;
  }
  const double mean = static_cast<double>(sum) / (double(decoded.width) * decoded.height);
  return mean == 0 ? 100 : 10 * std::log10(255.0 * 255.0 / mean);
}

bool isKeyFrame(const std::vector<std::byte>& unit) {
  constexpr std::byte sequenceSet{0x67};
  return unit.size() > 4 && unit[4] == sequenceSet;
}

void keep(const Run& run, int number, const Luma& picture) {
  if (std::ranges::find(run.keptPictures, number) == run.keptPictures.end()) return;
  std::ofstream file(run.pictureFolder + "/" + std::to_string(number) + ".pgm", std::ios::binary);
  file << "P5 " << picture.width << ' ' << picture.height << " 255\n";
  file.write(reinterpret_cast<const char*>(picture.pixels.data()),
             static_cast<std::streamsize>(picture.pixels.size()));
}

/// When everything has had time to become good: one key frame of what stands still, or one that
/// comes four seconds after the end of a movement.
int settledFrom(const Content& content) {
  return content.moves ? movingPictures + 4 * picturesPerSecond : 7 * picturesPerSecond;
}

double mean(const std::vector<double>& values, int count) {
  return std::accumulate(values.begin(), values.begin() + count, 0.0) / count;
}

void summarise(const Link& link, double bytes, Measured& measured) {
  constexpr double seconds = double(allPictures) / picturesPerSecond;
  measured.bitRate = bytes * 8 / seconds;
  measured.milliseconds /= seconds;
  measured.mostOverThreeSeconds = link.mostOverThreeSeconds();
  measured.worstDelay = link.worstDelay();
  measured.delayOf95Percent = link.delayOf95Percent();
}

void summarise(const Run& run, const std::vector<double>& qualities, const std::vector<bool>& keys,
               Measured& measured) {
  measured.meanQuality = mean(qualities, run.content.moves ? movingPictures : allPictures);
  measured.finalQuality = qualities.back();
  const auto settled = static_cast<std::size_t>(settledFrom(run.content));
  measured.leastSettled =
      *std::min_element(qualities.begin() + std::ptrdiff_t(settled), qualities.end());
  for (std::size_t i = settled; i < qualities.size(); ++i) {
    if (!keys[i]) continue;
    measured.pulse = std::max(measured.pulse, std::abs(qualities[i] - qualities[i - 1]));
  }
}

}  // namespace

Measured measure(const Run& run, const Encode& encode) {
  Canvas canvas(run.size);
  const auto painter = run.content.painter(canvas);
  testing::H264Decoder decoder;
  testing::LevelCheck level;
  Link link(run.kilobitsPerSecond * 1000.0, picturesPerSecond);
  Measured measured;
  std::vector<double> qualities;
  std::vector<bool> keys;
  double bytes = 0;
  for (int number = 0; number < allPictures; ++number) {
    if (number > 0) canvas.next();
    if (!run.content.moves || number < movingPictures) painter(number);
    const double before = threadMilliseconds();
    const auto unit = encode(canvas.image());
    const double taken = threadMilliseconds() - before;
    measured.milliseconds += taken;
    bytes += static_cast<double>(unit.size());
    link.send(unit.size());
    level.add(unit);
    const auto picture = decoder.decode(unit);
    if (!picture) {
      measured.faults.push_back("picture " + std::to_string(number) + " does not decode");
      qualities.push_back(0);
    } else {
      qualities.push_back(quality(*picture, *canvas.image()));
    }
    keys.push_back(isKeyFrame(unit));
    if (picture) keep(run, number, *picture);
    if (run.trace) {
      std::printf("%4d %s %7zu bytes %6.3f s %6.2f dB %5.1f ms\n", number, keys.back() ? "K" : " ",
                  unit.size(), link.delays().back(), qualities.back(), taken);
    }
  }
  measured.level = level.level();
  measured.faults.insert(measured.faults.end(), level.faults().begin(), level.faults().end());
  summarise(link, bytes, measured);
  summarise(run, qualities, keys, measured);
  return measured;
}

}  // namespace vesk::rates
