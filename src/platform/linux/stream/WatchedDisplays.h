#pragma once

#include <memory>
#include <optional>

#include "platform/Displays.h"
#include "platform/linux/stream/WatchedDisplay.h"

namespace vesk::stream {

/// A desktop's displays, of which the one that is watched is the main one for as long as it is
/// there. Thread, failures: as theirs.
class WatchedDisplays final : public Displays {
 public:
  /// `watched` outlives the object.
  WatchedDisplays(std::unique_ptr<Displays> displays, const WatchedDisplay& watched)
      : displays_(std::move(displays)), watched_(watched) {}

  DisplayId mainDisplay() override {
    const auto watched = watched_.current();
    const bool isThere = watched != 0 && displays_->bounds(watched).width > 0;
    return isThere ? watched : displays_->mainDisplay();
  }
  Rect bounds(DisplayId display) override { return displays_->bounds(display); }
  PixelSize pixels(DisplayId display) override { return displays_->pixels(display); }
  std::optional<PixelSize> modePixels(DisplayId display) override {
    return displays_->modePixels(display);
  }

 private:
  const std::unique_ptr<Displays> displays_;
  const WatchedDisplay& watched_;
};

}  // namespace vesk::stream
