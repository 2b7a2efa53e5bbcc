#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/Displays.h"
#include "platform/linux/picture/PixelRect.h"

namespace vesk::wayland::beneath {

using picture::PixelRect;

/// One surface of this program's, as the compositor lays it over an output.
struct OwnSurface {
  /// Premultiplied ARGB, row by row, as many as the area has.
  using Pixels = std::vector<std::uint32_t>;

  DisplayId output = 0;
  PixelRect area;  ///< of the output's pixels as the person sees them, from its top-left corner on
  std::shared_ptr<const Pixels> pixels;  ///< null where nothing can be said of them
};

/// What this program itself shows, for whoever takes the picture without it.
///
/// A picture shows some surfaces, and which ones is known only where nothing was being changed from
/// the moment on at which it was asked for to the one at which it came.
///
/// Thread: any. Owns: nothing of the compositor's. Fails: never.
class OwnSurfaces {
 public:
  using Number = std::uint32_t;

  /// From before the compositor is asked for a change until it has carried it out.
  class Change {
   public:
    explicit Change(OwnSurfaces& surfaces);
    ~Change();
    Change(const Change&) = delete;
    Change& operator=(const Change&) = delete;

   private:
    OwnSurfaces& surfaces_;
  };

  /// What pictures show that are asked for now.
  struct Shown {
    bool isCertain = true;
    std::uint64_t generation = 0;      ///< another one after each change
    std::vector<OwnSurface> surfaces;  ///< from the lowest to the topmost
  };

  /// All three are called within a change. What is added lies above everything before it.
  Number add(OwnSurface surface);
  void replace(Number number, OwnSurface surface);
  void remove(Number number);

  Shown shown() const;

 private:
  struct Numbered {
    Number number = 0;
    OwnSurface surface;
  };

  mutable std::mutex mutex_;
  int changes_ = 0;
  std::uint64_t generation_ = 0;
  Number last_ = 0;
  std::vector<Numbered> surfaces_;
};

}  // namespace vesk::wayland::beneath
