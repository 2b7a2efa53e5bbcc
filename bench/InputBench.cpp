#include <benchmark/benchmark.h>

#include <array>
#include <string>

#include "input/InputInjector.h"
#include "platform/Displays.h"
#include "platform/InputGate.h"
#include "platform/SystemClock.h"
#include "platform/linux/x11/input/XEventPoster.h"
#include "platform/linux/x11/server/XDisplays.h"

// What one move of the viewer's pointer costs this process. The benchmarks that post need DISPLAY
// to name a server whose pointer may be moved.

namespace vesk {
namespace {

class NoPoster final : public EventPoster {
 public:
  void post(const MouseEvent& event) override { benchmark::DoNotOptimize(event.point.x); }
  void post(const KeyboardEvent& event) override { benchmark::DoNotOptimize(event.keyCode); }
  void post(const ScrollEvent& event) override { benchmark::DoNotOptimize(event.lines); }
  std::optional<Point> pointerLocation() override { return std::nullopt; }
};

class OneDisplay final : public Displays {
 public:
  DisplayId mainDisplay() override { return 1; }
  Rect bounds(DisplayId) override { return {{0, 0}, 1920, 1080}; }
  PixelSize pixels(DisplayId) override { return {1920, 1080}; }
  std::optional<PixelSize> modePixels(DisplayId) override { return std::nullopt; }
};

const std::array<std::string, 2> moves{R"({"t":"m","e":"move","x":0.43125,"y":0.719444,"m":0})",
                                       R"({"t":"m","e":"move","x":0.43177,"y":0.718518,"m":0})"};

void run(benchmark::State& state, EventPoster& poster, Displays& displays) {
  SystemClock clock;
  InputInjector injector(poster, displays, clock);
  std::size_t i = 0;
  for (auto _ : state) injector.handle(std::as_bytes(std::span(moves[i++ % moves.size()])));
}

void decodeMove(benchmark::State& state) {
  NoPoster poster;
  OneDisplay displays;
  run(state, poster, displays);
}

void decodeAndPostMove(benchmark::State& state) {
  const SystemClock clock;
  InputGate gate(clock);
  x11::input::XEventPoster poster(gate);
  OneDisplay displays;
  run(state, poster, displays);
}

/// With the bounds of the main display asked of the server, as the program does it.
void decodeMeasureAndPostMove(benchmark::State& state) {
  const SystemClock clock;
  InputGate gate(clock);
  x11::input::XEventPoster poster(gate);
  x11::server::XDisplays displays;
  run(state, poster, displays);
}

BENCHMARK(decodeMove);
BENCHMARK(decodeAndPostMove);
BENCHMARK(decodeMeasureAndPostMove);

}  // namespace
}  // namespace vesk

BENCHMARK_MAIN();
