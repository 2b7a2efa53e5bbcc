#pragma once

#include <cstddef>
#include <mutex>
#include <vector>

#include "agent/Page.h"
#include "platform/Descriptor.h"

namespace vesk::agent {

/// What goes from the page's thread to the agent's.
///
/// Thread: `put…` the page's, the rest the agent's. Owns: the wishes that wait, and the descriptor
/// that tells of them. Fails: the constructor throws std::system_error when the system has no
/// descriptor to give.
class PageMail {
 public:
  static constexpr std::size_t maxWaiting = 256;
  static constexpr std::size_t maxBytes = std::size_t{1024} * 1024;

  PageMail();

  enum class Room { some, none };

  /// Takes every frame, and tells whether another one should wait until the agent has taken some.
  Room putFrame(Frame frame);

  /// Leaves out what is too much to read.
  void putNote(std::string text);

  /// Readable while something waits.
  int descriptor() const { return event_.get(); }

  struct Taken {
    std::vector<PageWish> wishes;
    bool wasFull = false;
  };
  Taken take();

 private:
  void wake() const;

  Descriptor event_;
  std::mutex mutex_;
  std::vector<PageWish> wishes_;
  std::size_t bytes_ = 0;  ///< of the frames among them
  bool isFull_ = false;
};

}  // namespace vesk::agent
