#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <random>

#include "capture/annexB.h"
#include "platform/linux/picture/ImagePainter.h"
#include "platform/linux/picture/ScreenEncoder.h"
#include "platform/linux/picture/composed/moveSearch.h"
#include "platform/linux/picture/composed/moveSlice.h"
#include "platform/linux/portal/screen/KeptPicture.h"

namespace {

using namespace vesk;

constexpr PixelSize full{1920, 1080};

std::vector<std::uint8_t> someScreen(PixelSize size) {
  std::vector<std::uint8_t> pixels(static_cast<std::size_t>(size.width * size.height * 4));
  std::mt19937 random(1);
  for (std::size_t i = 0; i < pixels.size(); i += 64) {
    std::fill_n(pixels.begin() + static_cast<std::ptrdiff_t>(i), 64,
                static_cast<std::uint8_t>(random()));
  }
  return pixels;
}

void convert(benchmark::State& state) {
  const PixelSize source{full.width * state.range(0), full.height * state.range(0)};
  const auto pixels = someScreen(source);
  picture::ImagePainter painter(source, full);
  const int width = static_cast<int>(source.width);
  const int height = static_cast<int>(source.height);
  for (auto each : state) {
    benchmark::DoNotOptimize(painter.paint(pixels.data(), width * 4, {{0, 0, width, height}}));
  }
}
BENCHMARK(convert)->Arg(1)->Arg(2)->Unit(benchmark::kMicrosecond);

void convertLetter(benchmark::State& state) {
  const auto pixels = someScreen(full);
  picture::ImagePainter painter(full, full);
  painter.paint(pixels.data(), 1920 * 4, {{0, 0, 1920, 1080}});
  for (auto each : state) {
    benchmark::DoNotOptimize(painter.paint(pixels.data(), 1920 * 4, {{500, 500, 9, 18}}));
  }
}
BENCHMARK(convertLetter)->Unit(benchmark::kMicrosecond);

/// How many rows differ from the picture before.
void keepPicture(benchmark::State& state) {
  std::array screens{someScreen(full), someScreen(full)};
  std::ranges::fill_n(screens[1].begin(), 1920 * 4 * state.range(0), std::uint8_t{1});
  portal::screen::KeptPicture kept(full);
  std::size_t turn = 0;
  for (auto each : state) {
    kept.update(screens[turn ^= 1].data(), 1920 * 4, kept.whole());
    benchmark::DoNotOptimize(kept.takeChanges());
  }
}
BENCHMARK(keepPicture)->Arg(0)->Arg(20)->Arg(1080)->Unit(benchmark::kMicrosecond);

/// What that is to be held against.
void copyPicture(benchmark::State& state) {
  const std::array screens{someScreen(full), someScreen(full)};
  std::vector<std::uint8_t> copy(screens[0].size());
  std::size_t turn = 0;
  for (auto each : state) {
    std::memcpy(copy.data(), screens[turn ^= 1].data(), copy.size());
    benchmark::DoNotOptimize(copy.data());
    benchmark::ClobberMemory();
  }
}
BENCHMARK(copyPicture)->Unit(benchmark::kMicrosecond);

void encode(benchmark::State& state) {
  const auto pixels = someScreen(full);
  picture::ImagePainter painter(full, full);
  picture::ScreenEncoderSettings settings;
  settings.encoder.width = 1920;
  settings.encoder.height = 1080;
  settings.bitRate = 4'000'000;
  picture::ScreenEncoder encoder(settings);
  HostTime time{};
  const int edge = static_cast<int>(state.range(0));
  auto image = painter.paint(pixels.data(), 1920 * 4, {{0, 0, 1920, 1080}});
  for (int i = 0; i < 100; ++i) encoder.encode(image, time += std::chrono::milliseconds(33), false);
  for (auto each : state) {
    if (edge > 0) image = painter.paint(pixels.data(), 1920 * 4, {{0, 0, edge, edge}});
    encoder.encode(image, time += std::chrono::milliseconds(33), false);
  }
}
BENCHMARK(encode)->Arg(0)->Arg(16)->Arg(1000)->Unit(benchmark::kMicrosecond);

/// How far up the page has gone; nought: there is another page instead.
void searchMove(benchmark::State& state) {
  std::vector<std::uint8_t> pixels(1920 * 1080 * 4);
  std::mt19937 random(2);
  // Grey, as text mostly is: other colours fade too much where they move an odd distance.
  for (std::size_t i = 0; i < pixels.size(); i += 4) {
    std::fill_n(&pixels[i], 4, static_cast<std::uint8_t>(random()));
  }
  picture::ImagePainter painter(full, full);
  const auto before = painter.paint(pixels.data(), 1920 * 4, {{0, 0, 1920, 1080}});
  if (state.range(0) > 0) {
    std::rotate(pixels.begin(), pixels.begin() + 1920 * 4 * state.range(0), pixels.end());
  } else {
    std::ranges::reverse(pixels);
  }
  const auto now = painter.paint(pixels.data(), 1920 * 4, {{0, 0, 1920, 1080}});
  for (auto each : state) {
    benchmark::DoNotOptimize(picture::composed::findMove(*before, *now, {511, 2000}));
  }
}
BENCHMARK(searchMove)->Arg(0)->Arg(53)->Arg(54)->Unit(benchmark::kMicrosecond);

void writeMove(benchmark::State& state) {
  picture::composed::MovedBlocks moved{120, std::vector<std::uint8_t>(120 * 68), {0, -54}};
  std::fill_n(moved.marks.begin() + 120 * 4, 120 * 60, std::uint8_t{1});
  for (auto each : state) {
    picture::h264::BitWriter writer;
    writeMoveSlice(writer, moved, 0, 120 * 68 - 1);
    benchmark::DoNotOptimize(writer.finished());
  }
}
BENCHMARK(writeMove)->Unit(benchmark::kMicrosecond);

void packUnits(benchmark::State& state) {
  EncodedSample sample;
  sample.data = std::vector<std::byte>(static_cast<std::size_t>(state.range(0)) + 4);
  for (int i = 0; i < 4; ++i) {
    (*sample.data)[static_cast<std::size_t>(i)] =
        static_cast<std::byte>(state.range(0) >> (24 - 8 * i));
  }
  sample.notSync = true;
  for (auto each : state) benchmark::DoNotOptimize(annexB(sample));
}
BENCHMARK(packUnits)->Arg(10)->Arg(20'000)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
