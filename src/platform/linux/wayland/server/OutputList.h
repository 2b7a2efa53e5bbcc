#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "platform/Displays.h"
#include "platform/linux/wayland/server/Connection.h"

namespace vesk::wayland::server {

/// One output as the compositor has told of it last.
struct Output {
  DisplayId id = 0;  ///< the global's name, which no other output has while the compositor runs
  Rect area;         ///< in the space of all outputs, in points
  PixelSize mode;    ///< of the panel, before it is turned
  wl_output_transform transform = WL_OUTPUT_TRANSFORM_NORMAL;
  std::int32_t bufferScale = 1;  ///< the pixels that a point of a window should have here
  bool operator==(const Output&) const = default;

  /// The mode as the person sees it.
  PixelSize pixels() const;

  /// Pixels of a point; fractions where the person has chosen one.
  double scale() const;
};

/// What all of them cover together; there is at least one.
Rect desktopArea(const std::vector<Output>& outputs);

/// The outputs that are there, kept up to date by what a connection tells.
///
/// Thread: the connection's. Owns: its proxies; the connection outlives it and tells nobody else of
/// what comes and goes. Fails: as no outputs.
class OutputList {
 public:
  /// Waits for the compositor to tell of those that there are.
  explicit OutputList(Connection& connection);
  ~OutputList();
  OutputList(const OutputList&) = delete;
  OutputList& operator=(const OutputList&) = delete;

  /// Those of which everything is known, in the order in which they came.
  std::vector<Output> current() const;
  std::optional<Output> find(DisplayId id) const;

  /// The main one: the one that is watched, while it is there. The compositor names none: otherwise
  /// it is the one at the origin, where the others are laid out from, or the first.
  std::optional<Output> main(DisplayId watched = 0) const;

  /// Of an output that is there; null for another.
  wl_output* proxy(DisplayId id) const;

  /// Called when one has come, gone or changed.
  std::function<void()> onChange;

 private:
  struct Entry;

  void add(const Global& global);
  void remove(const Global& global);

  Connection& connection_;
  Proxy<zxdg_output_manager_v1> manager_;
  std::vector<std::unique_ptr<Entry>> entries_;
};

}  // namespace vesk::wayland::server
