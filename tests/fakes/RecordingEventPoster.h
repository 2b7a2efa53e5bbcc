#pragma once

#include <functional>
#include <optional>
#include <utility>
#include <variant>
#include <vector>

#include "platform/Events.h"

namespace vesk::fakes {

using PostedEvent = std::variant<MouseEvent, KeyboardEvent, ScrollEvent>;

/// Keeps what was posted, in order. Thread: the test's.
class RecordingEventPoster final : public EventPoster {
 public:
  void post(const MouseEvent& event) override { add(event); }
  void post(const KeyboardEvent& event) override { add(event); }
  void post(const ScrollEvent& event) override { add(event); }
  std::optional<Point> pointerLocation() override { return pointer; }

  /// What was posted since this was last asked.
  std::vector<PostedEvent> take() { return std::exchange(posted, {}); }

  std::vector<PostedEvent> posted;
  std::optional<Point> pointer = Point{320, 240};

  /// Called once, with the next event that is posted.
  std::function<void()> onNextPost;

 private:
  void add(const PostedEvent& event) {
    posted.push_back(event);
    if (const auto told = std::exchange(onNextPost, nullptr)) told();
  }
};

}  // namespace vesk::fakes
