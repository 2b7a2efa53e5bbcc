#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "link/Frame.h"

namespace vesk::agent {

/// What a viewer's input messages leave pressed, so that it is let go of when the viewer is gone
/// without doing so itself.
///
/// Thread: one. Owns: the sets, which no viewer makes longer than `limit`.
class HeldInput {
 public:
  /// More than fingers and keys; what is pressed beyond it is not let go of.
  static constexpr std::size_t limit = 256;

  void sent(const Frame& frame);

  /// The input frames that let go of everything, which is forgotten with them. They leave the
  /// pointer where it is.
  std::vector<Frame> takeReleases();

  void clear() { *this = HeldInput(); }

 private:
  Frame modifierRelease() const;

  std::set<std::pair<std::int64_t, bool>> keys_;  ///< the code, and whether it is extended
  std::set<std::int64_t> buttons_;
  bool hasModifiers_ = false;
  struct Place {
    double x = 0;
    double y = 0;
  };
  std::optional<Place> pointer_;  ///< nothing until the viewer has pointed
};

}  // namespace vesk::agent
