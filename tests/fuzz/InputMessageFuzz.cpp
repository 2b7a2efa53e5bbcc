#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "fakes/FakeDisplays.h"
#include "fakes/ManualClock.h"
#include "fakes/RecordingEventPoster.h"
#include "fuzz/FuzzEnvironment.h"
#include "input/InputInjector.h"

// One message of any bytes: every event that it gives rise to makes sense by itself.

namespace vesk {
namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

const Rect display{{100, 50}, 1000, 500};

void check(const MouseEvent& event) {
  require(event.point.x >= 100 && event.point.x <= 1100);
  require(event.point.y >= 50 && event.point.y <= 550);
  require(event.flags.has_value());
  require(event.clickState.value_or(1) >= 1);
}

void check(const KeyboardEvent& event) {
  require(event.flags.has_value() && (*event.flags & ~EventFlags{0x1F0000}) == 0);
  if (!event.unicode) return;
  require(!event.unicode->empty() && event.unicode->size() <= 16);
  require(event.keyCode == 0 && event.flags == 0U);
}

void check(const ScrollEvent& event) { require(event.lines == 3 || event.lines == -3); }

}  // namespace
}  // namespace vesk

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  vesk::fuzz::useOwnHome();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  vesk::fakes::RecordingEventPoster poster;
  vesk::fakes::FakeDisplays displays;
  displays.boundsOf[displays.main] = vesk::display;
  vesk::fakes::ManualClock clock;
  vesk::InputInjector injector(poster, displays, clock);
  injector.handle(std::as_bytes(std::span(data, size)));
  for (const auto& posted : poster.posted)
    std::visit([](const auto& event) { vesk::check(event); }, posted);
  return 0;
}
