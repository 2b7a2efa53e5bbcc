#pragma once

#include <memory>
#include <span>
#include <vector>

#include "platform/linux/x11/beneath/Patch.h"
#include "platform/linux/x11/beneath/PictureFormats.h"

namespace vesk::x11::beneath {

/// A patch for each part of the root window that own windows cover, all in one piece of memory.
///
/// Thread: one at a time. Owns: the server's resources; the connection outlives it. Fails: as no
/// patch at all, where the server has no memory or does not compose.
class Patches {
 public:
  /// None.
  explicit Patches(const server::Connection& connection) : connection_(connection) {}

  Patches(const server::Connection& connection, const PictureFormats& formats,
          const std::vector<PixelRect>& parts);

  bool isEmpty() const { return patches_.empty(); }
  auto begin() const { return patches_.begin(); }
  auto end() const { return patches_.end(); }

  void markStale();

  /// Where they meet these rectangles of the root window.
  void markStale(const std::vector<PixelRect>& rects);

  /// Asks the server for what is stale; `collect` waits until it has come, and tells whether it
  /// has.
  void request(std::span<const WindowContents* const> bottomToTop, bool blended);
  bool collect() { return memory_ == nullptr || memory_->collect(); }

  /// Copies rows of the root window into the picture of the screen.
  void copyRows(int top, int bottom, server::SharedPixels& screen,
                const PixelRect& screenArea) const;

 private:
  const server::Connection& connection_;
  std::unique_ptr<server::SharedPixels> memory_;
  std::vector<std::unique_ptr<Patch>> patches_;
};

}  // namespace vesk::x11::beneath
