#include "platform/linux/wayland/overlay/LayerShell.h"

#include <sys/eventfd.h>

namespace vesk::wayland::overlay {
namespace {

// With damage in pixels.
constexpr std::uint32_t compositorVersion = 4;
constexpr std::uint32_t memoryVersion = 1;
constexpr std::uint32_t layersVersion = 4;

}  // namespace

LayerShell::LayerShell()
    : compositor_(connection_.bind<wl_compositor>(wl_compositor_interface, compositorVersion)),
      memory_(connection_.bind<wl_shm>(wl_shm_interface, memoryVersion)),
      layers_(connection_.bind<zwlr_layer_shell_v1>(zwlr_layer_shell_v1_interface, layersVersion)) {
  setDescriptorsAside();
}

void LayerShell::setDescriptorsAside() {
  for (auto& each : setAside_) {
    if (!each) each = Descriptor(::eventfd(0, EFD_CLOEXEC));
  }
}

void LayerShell::withDescriptors(const std::function<void()>& call) {
  for (auto& each : setAside_) each.close();
  call();
  connection_.flush();
  setDescriptorsAside();
}

LayerShell::operator bool() const {
  return connection_ && compositor_ != nullptr && memory_ != nullptr && layers_ != nullptr;
}

}  // namespace vesk::wayland::overlay
