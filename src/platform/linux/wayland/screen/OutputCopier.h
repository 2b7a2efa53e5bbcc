#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "platform/linux/picture/PixelRect.h"
#include "platform/linux/wayland/screen/SharedBuffer.h"
#include "platform/linux/wayland/server/Connection.h"

namespace vesk::wayland::screen {

using picture::PixelRect;

/// Has the compositor copy an output's pixels into memory that is shared with it, one copy at a
/// time: the panel's pixels, whichever way it is turned.
///
/// Thread: the connection's; a copy goes on while what the compositor tells is handed on. Owns: the
/// memory, which is to be looked at while a copy is ready; the connection and the output's proxy
/// outlive it. Fails: the constructor leaves an object that is false where the compositor offers no
/// copies; a copy may fail at any time.
class OutputCopier {
 public:
  enum class When {
    changed,  ///< as soon as something differs from the last such copy, which may be now
    atOnce,   ///< without telling what differs; the copy after it may tell of too much
  };
  enum class State { none, announcing, copying, ready, failed };
  enum class Failure { refused, strangeColours, noMemory };

  OutputCopier(const server::Connection& connection, wl_output* output, bool showsCursor);
  ~OutputCopier();
  OutputCopier(const OutputCopier&) = delete;
  OutputCopier& operator=(const OutputCopier&) = delete;

  explicit operator bool() const;

  /// Gives up the copy before. How the pixels have to be laid out comes first each time, for a
  /// compositor ends the connection of whoever brings memory that fits no more.
  void ask(When when);

  /// The copy is not needed any more.
  void drop();

  State state() const { return state_; }
  Failure failure() const { return failure_; }
  When when() const { return when_; }

  /// All of these of a copy that is ready.
  PanelPixels pixels() const { return {buffer_->layout(), buffer_->data(), isUpsideDown_}; }
  const std::vector<PixelRect>& changed() const { return changed_; }  ///< of the panel

 private:
  void listen();
  void announce(const BufferLayout& layout);
  void copy();
  void fail(Failure failure);

  wl_output* output_;
  bool showsCursor_;
  server::Proxy<wl_shm> shm_;
  // Changes are counted from one copy of a manager's to the next.
  server::Proxy<zwlr_screencopy_manager_v1> forChanges_;
  server::Proxy<zwlr_screencopy_manager_v1> forAtOnce_;
  server::Proxy<zwlr_screencopy_frame_v1> frame_;
  std::unique_ptr<SharedBuffer> buffer_;
  BufferLayout layout_;
  When when_ = When::changed;
  State state_ = State::none;
  Failure failure_ = Failure::refused;
  bool isUpsideDown_ = false;
  std::vector<PixelRect> changed_;
};

}  // namespace vesk::wayland::screen
