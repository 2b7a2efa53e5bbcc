#pragma once

#include <memory>
#include <mutex>
#include <optional>

#include "platform/Displays.h"
#include "platform/linux/wayland/server/Connection.h"
#include "platform/linux/wayland/server/OutputList.h"

namespace vesk::wayland::server {

/// The compositor's outputs, over a connection that is made anew where the compositor has ended it:
/// it ends one to which nobody has listened while outputs changed hundreds of times. On a scaled
/// one a point is more than one pixel, and may be a fraction more.
class WlDisplays final : public Displays {
 public:
  DisplayId mainDisplay() override;
  Rect bounds(DisplayId display) override;
  PixelSize pixels(DisplayId display) override;
  std::optional<PixelSize> modePixels(DisplayId display) override;

 private:
  struct Link {
    Connection connection;
    OutputList outputs{connection};
  };

  const OutputList* outputs();
  std::optional<Output> find(DisplayId display);

  std::mutex mutex_;
  std::unique_ptr<Link> link_ = std::make_unique<Link>();
};

}  // namespace vesk::wayland::server
