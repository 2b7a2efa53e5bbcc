#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "link/Frame.h"

namespace vesk::agent {

/// A line about the page for whoever reads the agent's notes.
struct PageNote {
  std::string text;
};

/// What the page wants of the agent: a frame sent to the program, or a note shown.
using PageWish = std::variant<Frame, PageNote>;

/// The viewer's page, as the agent sees it. Nothing in it waits: what its viewer does not read is
/// dropped at its side.
///
/// Thread: one, which polls `descriptor`. Fails: never, once it is open.
class Page {
 public:
  virtual ~Page() = default;

  /// Where a browser finds it, the key included.
  virtual std::string address() const = 0;

  /// Readable while `takeWishes` has something.
  virtual int descriptor() const = 0;
  virtual std::vector<PageWish> takeWishes() = 0;

  virtual void programConnected() = 0;
  virtual void programGone() = 0;
  virtual void programSent(const Frame& frame) = 0;

  /// A frame that was sent to the program, but for the page's own wishes.
  virtual void agentSent(const Frame& frame) = 0;

  /// A line for the person at the page.
  virtual void note(std::string_view text) = 0;
};

/// A page at that port of the loopback address, or at a free one for 0. Throws std::runtime_error
/// with a sentence when it cannot be had.
std::unique_ptr<Page> openPage(std::uint16_t port);

}  // namespace vesk::agent
