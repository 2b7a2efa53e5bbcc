#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <set>
#include <string_view>

#include "fakes/FakeDisplays.h"
#include "fakes/ManualClock.h"
#include "fuzz/FuzzEnvironment.h"
#include "input/InputInjector.h"
#include "input/KeyMap.h"

// Messages, one a line; an empty line lets some time pass. Whatever came before, nothing is held
// once everything was released, and a second release has nothing left to do.

namespace vesk {
namespace {

/// Keeps what the system would believe to be down.
class HoldingPoster final : public EventPoster {
 public:
  void post(const MouseEvent& event) override {
    ++events_;
    switch (event.type) {
      case EventType::leftMouseDown:
      case EventType::rightMouseDown:
      case EventType::otherMouseDown:
        buttons_.insert(event.button);
        break;
      case EventType::leftMouseUp:
      case EventType::rightMouseUp:
      case EventType::otherMouseUp:
        buttons_.erase(event.button);
        break;
      default:
        break;
    }
  }
  void post(const KeyboardEvent& event) override {
    ++events_;
    if (event.type == EventType::flagsChanged) flags_ = event.flags.value_or(0);
    if (event.type == EventType::keyDown && !event.unicode) keys_.insert(event.keyCode);
    if (event.type == EventType::keyUp && !event.unicode) keys_.erase(event.keyCode);
    if (event.unicode) typing_ = event.down;
  }
  void post(const ScrollEvent&) override { ++events_; }
  std::optional<Point> pointerLocation() override { return std::nullopt; }

  bool holdsNothing() const { return keys_.empty() && buttons_.empty() && flags_ == 0 && !typing_; }
  std::size_t events() const { return events_; }

 private:
  std::set<MouseButton> buttons_;
  std::set<KeyCode> keys_;
  EventFlags flags_ = 0;
  bool typing_ = false;
  std::size_t events_ = 0;
};

void require(bool holds) {
  if (!holds) std::abort();
}

void run(std::string_view script) {
  using namespace std::chrono_literals;
  HoldingPoster poster;
  fakes::FakeDisplays displays;
  fakes::ManualClock clock;
  InputInjector injector(poster, displays, clock);
  while (!script.empty()) {
    const auto end = std::min(script.find('\n'), script.size());
    const auto line = script.substr(0, end);
    if (line.empty()) clock.advance(200ms);
    injector.handle(std::as_bytes(std::span(line)));
    script.remove_prefix(std::min(end + 1, script.size()));
  }
  injector.releaseAll();
  require(poster.holdsNothing());
  const auto events = poster.events();
  injector.releaseAll();
  require(poster.events() == events);
}

}  // namespace
}  // namespace vesk

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  vesk::fuzz::useOwnHome();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  vesk::run({reinterpret_cast<const char*>(data), size});
  return 0;
}
