#pragma once

#include <array>
#include <functional>

#include "platform/Descriptor.h"
#include "platform/linux/wayland/server/Connection.h"
#include "platform/linux/wayland/server/OutputList.h"

namespace vesk::wayland::overlay {

/// A connection of its own to a compositor that puts surfaces above all windows, and what they are
/// made with.
///
/// Thread: one. Owns: all of it; outlives every surface. Fails: as one that is false, and stays so.
class LayerShell {
 public:
  using Clock = server::Connection::Clock;

  /// What a compositor has not carried out by then is not waited for.
  static constexpr std::chrono::seconds patience{1};

  LayerShell();

  explicit operator bool() const;

  server::Connection& connection() { return connection_; }
  server::OutputList& outputs() { return outputs_; }
  wl_compositor* compositor() const { return compositor_.get(); }
  wl_shm* memory() const { return memory_.get(); }
  zwlr_layer_shell_v1* layers() const { return layers_.get(); }

  /// Waits until the compositor has carried out all that was asked for. Whether it has.
  bool settle() { return connection_.settle(Clock::now() + patience); }

  /// Waits until it has told of the outputs as they are, to whom nobody has listened for a while.
  /// One that has come tells what it is like only to those who ask then.
  bool learnOutputs() { return settle() && settle(); }

  /// Calls that with two descriptors at hand that others cannot have taken, and sends what it asks
  /// for.
  void withDescriptors(const std::function<void()>& call);

 private:
  void setDescriptorsAside();

  std::array<Descriptor, 2> setAside_;
  server::Connection connection_;
  server::OutputList outputs_{connection_};
  server::Proxy<wl_compositor> compositor_;
  server::Proxy<wl_shm> memory_;
  server::Proxy<zwlr_layer_shell_v1> layers_;
};

}  // namespace vesk::wayland::overlay
