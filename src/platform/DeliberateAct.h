#pragma once

#include <bitset>
#include <chrono>
#include <optional>
#include <utility>

namespace vesk {

/// Which of the keys and clicks that reach an alert are acts of the person, and meant for it.
///
/// An alert comes up while the person works in another program, perhaps with a key held down, under
/// a hand that is about to click. So a key counts when it has been up since the alert got the
/// focus, half a second after that at the earliest, and a click when press and release both come
/// after the alert has stood in one place, in sight, for as long. What repeats never counts.
///
/// Thread: one. Owns: nothing. Fails: never; what it was not told of does not count.
/// Each time is an event's own, by whatever one clock stamps them all: an event that was read late
/// is judged by when it was made.
class DeliberateAct {
 public:
  using Time = std::chrono::milliseconds;
  using Keys = std::bitset<256>;

  static constexpr Time grace{500};

  /// Harmless for one in sight.
  void comesIntoSight();
  void goesOutOfSight();

  /// To another place or size, or what covered a part of it has gone.
  void moves();

  /// `held` are the keys that are down at that moment.
  void getsFocus(const Keys& held);
  void losesFocus();

  /// Everything told so far was so by then; before, nothing of it lets anything count.
  void confirm(Time now);

  /// Whether the event is to reach the alert. A key's release does when its press did.
  bool keyGoesDown(unsigned key, Time at);
  bool keyGoesUp(unsigned key, Time at);

  /// The button that answers.
  bool buttonGoesDown(Time at);
  bool buttonGoesUp();

 private:
  class State {
   public:
    void begin();
    void end();
    void confirm(Time now);
    bool lasts() const { return lasts_; }
    bool isSettled(Time at) const { return since_ && at - *since_ >= grace; }

   private:
    bool lasts_ = false;
    std::optional<Time> since_;
  };

  State sight_;
  State place_;
  State focus_;
  Keys down_;     ///< not seen up since the alert got the focus
  Keys counted_;  ///< of those, the ones whose press counted
  bool buttonCounted_ = false;
  std::optional<std::pair<unsigned, Time>> lastUp_;
};

}  // namespace vesk
