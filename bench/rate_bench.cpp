// Prints what the stream of each kind of content comes to at each rate, beside x264's own rate
// control in the same run. No clock is read but for the cost, so the figures are the same on every
// machine. See README.md.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "capture/annexB.h"
#include "platform/linux/picture/ScreenEncoder.h"
#include "rates/Yardstick.h"
#include "rates/measure.h"

namespace {

using namespace vesk;
using rates::Measured;

struct Options {
  std::vector<std::string> contents;
  std::vector<int> kilobits;
  std::vector<PixelSize> sizes;
  std::string pictureFolder;
  std::vector<int> keptPictures;
  bool yardstick = true;
  bool trace = false;
};

void usage() {
  std::fputs(
      "usage: rate_bench [--content NAME]... [--rate KBIT/S]... [--size 1080|720]...\n"
      "                  [--alone] [--trace] [--keep PICTURE]... [--folder FOLDER]\n"
      "Without a content, rate or size all of them are measured; --alone leaves the yardstick "
      "out,\n"
      "--trace prints every picture, --keep writes a decoded picture to FOLDER/ours and /x264.\n",
      stderr);
  std::exit(EXIT_FAILURE);
}

Options parse(int argc, char* argv[]) {
  Options options;
  for (int i = 1; i < argc; ++i) {
    const std::string name = argv[i];
    const auto value = [&]() -> std::string {
      if (++i >= argc) usage();
      return argv[i];
    };
    if (name == "--content") {
      options.contents.push_back(value());
    } else if (name == "--rate") {
      options.kilobits.push_back(std::atoi(value().c_str()));
    } else if (name == "--size") {
      options.sizes.push_back(value() == "720" ? PixelSize{1280, 720} : PixelSize{1920, 1080});
    } else if (name == "--keep") {
      options.keptPictures.push_back(std::atoi(value().c_str()));
    } else if (name == "--folder") {
      options.pictureFolder = value();
    } else if (name == "--alone") {
      options.yardstick = false;
    } else if (name == "--trace") {
      options.trace = true;
    } else {
      usage();
    }
  }
  if (options.contents.empty()) {
    for (const auto& content : rates::contents()) options.contents.push_back(content.name);
  }
  if (options.kilobits.empty()) options.kilobits = {250, 500, 1000, 2000, 4000, 8000};
  if (options.sizes.empty()) options.sizes = {{1920, 1080}, {1280, 720}};
  return options;
}

Measured ours(const rates::Run& run) {
  picture::ScreenEncoderSettings settings;
  settings.encoder.width = static_cast<std::int32_t>(run.size.width);
  settings.encoder.height = static_cast<std::int32_t>(run.size.height);
  settings.encoder.framesPerSecond = rates::picturesPerSecond;
  settings.bitRate = run.kilobitsPerSecond * 1000;
  picture::ScreenEncoder encoder(settings);
  std::int64_t number = 0;
  return measure(run, [&](const rates::Image& image) {
    const HostTime time{std::chrono::hours(1) + std::chrono::nanoseconds(number++ * 1'000'000'000 /
                                                                         rates::picturesPerSecond)};
    const auto sample = encoder.encode(image, time, false);
    return sample ? annexB(*sample).value_or(Bytes{}) : Bytes{};
  });
}

Measured theirs(const rates::Run& run) {
  rates::Yardstick encoder(run.size, rates::picturesPerSecond, run.kilobitsPerSecond);
  return measure(run, [&](const rates::Image& image) { return encoder.encode(*image); });
}

void printPart(const Measured& measured) {
  std::printf(" %.2f | %.2f | %.2f | %.2f | %.1f | %.1f | %.1f |", measured.bitRate / 1e6,
              measured.mostOverThreeSeconds, measured.worstDelay, measured.delayOf95Percent,
              measured.meanQuality, measured.leastSettled, measured.pulse);
}

void printRow(const rates::Run& run, const Measured& own, const std::optional<Measured>& other) {
  std::printf("| %s | %d | %d |", run.content.name.c_str(), static_cast<int>(run.size.height),
              run.kilobitsPerSecond);
  printPart(own);
  if (other) printPart(*other);
  std::printf(" %.1f |\n", own.level / 10.0);
  for (const auto& fault : own.faults) std::fprintf(stderr, "%s\n", fault.c_str());
  std::fprintf(stderr, "%.0f ms of processor time for a second", own.milliseconds);
  if (other) std::fprintf(stderr, ", x264 %.0f", other->milliseconds);
  std::fprintf(stderr, "\n");
  std::fflush(stdout);
}

void printHeading(bool withYardstick) {
  const std::string part = " Mbit/s | 3 s | worst s | 95 % s | mean dB | settled dB | pulse dB |";
  std::printf("| content | size | kbit/s |%s%s level |\n", part.c_str(),
              withYardstick ? part.c_str() : "");
  for (int i = 0; i < (withYardstick ? 18 : 11); ++i) std::printf("|---");
  std::printf("|\n");
}

}  // namespace

/// Fails when a stream does not decode or does not keep to its level.
int main(int argc, char* argv[]) {
  const Options options = parse(argc, argv);
  bool sound = true;
  printHeading(options.yardstick);
  for (const auto& content : rates::contents()) {
    if (std::ranges::find(options.contents, content.name) == options.contents.end()) continue;
    for (const auto size : options.sizes) {
      for (const int kilobits : options.kilobits) {
        rates::Run run{
            content,      size, kilobits, options.pictureFolder + "/ours", options.keptPictures,
            options.trace};
        const auto own = ours(run);
        run.pictureFolder = options.pictureFolder + "/x264";
        std::optional<Measured> other;
        if (options.yardstick) other = theirs(run);
        printRow(run, own, other);
        sound = sound && own.faults.empty();
      }
    }
  }
  return sound ? EXIT_SUCCESS : EXIT_FAILURE;
}
