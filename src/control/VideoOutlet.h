#pragma once

#include <functional>
#include <mutex>
#include <vector>

#include "link/AgentLink.h"

namespace vesk {

/// The way of the video to the agent that asked for it. It is shut until the person can see that
/// somebody watches; what comes before is held back, and the first picture that goes out is one
/// that a decoder can begin with.
///
/// Thread: `send` on the encoder's; the rest on the main one, which never waits here for the agent.
/// Owns: what is held back, a few pictures. Fails: silently, as pictures that nobody gets.
class VideoOutlet {
 public:
  static constexpr std::size_t mostHeld = 16;
  static constexpr std::size_t mostHeldBytes = 4U << 20U;

  /// The link outlives the outlet. `requestKeyframe` is called on the main thread.
  VideoOutlet(AgentLink& link, std::function<void()> requestKeyframe);

  void send(ByteView accessUnit, Ticks duration);

  /// Lets go what was held back, and all that comes.
  void open(AgentLink::Connection to);

  /// From now on pictures that the agent has no room for are dropped, also one that waits now.
  void stopWaiting() { link_.setPatience(AgentLink::Patience::drops); }

  void shut();

 private:
  struct Held {
    Bytes accessUnit;
    Ticks duration;
  };

  void hold(ByteView accessUnit, Ticks duration);
  bool sendHeld();
  void forgetHeld();

  AgentLink& link_;
  std::function<void()> requestKeyframe_;
  std::mutex mutex_;
  AgentLink::Connection to_ = AgentLink::Connection::none;
  std::vector<Held> held_;  ///< from a key frame on
  std::size_t heldBytes_ = 0;
  bool lost_ = false;           ///< something that would have been held is gone
  bool awaitsKeyframe_ = true;  ///< nothing else may go out
};

}  // namespace vesk
