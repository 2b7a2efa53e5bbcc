#pragma once

#include <pipewire/pipewire.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

#include "platform/Descriptor.h"
#include "platform/linux/portal/screen/RemotePicture.h"

namespace vesk::portal::screen {

struct PointerNews;

/// One node of PipeWire's that pictures of a screen come from, as this program's end of it.
///
/// Each buffer is given back before the desktop is told that it was taken. One that is kept any
/// longer is given back with the next, which never comes once all of them are kept.
///
/// Thread: the one that it was made on. Owns: the connection, and the library's thread, which
/// sleeps until a buffer comes. Calls back: on that thread, never after destruction. Fails: the
/// constructor leaves an object that is false; later, by its state.
class PipeWireStream {
 public:
  using Clock = std::chrono::steady_clock;

  enum class State {
    beginning,
    flowing,
    halted,      ///< it may go on
    ended,       ///< the node has no more to give
    serviceGone  ///< and PipeWire with it
  };

  struct Wishes {
    int framesPerSecond = 30;
    bool pointer = false;  ///< is to be told of
  };

  struct Handlers {
    /// It stays where it is until that returns.
    std::function<void(const RemotePicture&)> picture;
    std::function<void(PointerNews)> pointer;
  };

  /// `remote` is connected to PipeWire and belongs to this object from then on.
  PipeWireStream(Descriptor remote, std::uint32_t node, Wishes wishes, Handlers handlers);
  ~PipeWireStream();
  PipeWireStream(const PipeWireStream&) = delete;
  PipeWireStream& operator=(const PipeWireStream&) = delete;

  explicit operator bool() const { return stream_ != nullptr; }

  /// Becomes readable when something was called back, or `iterate` has something else to do.
  int descriptor() const;

  /// Takes what has come.
  void iterate();

  /// Has the other side begin once more.
  void beginAnew();

  State state() const { return state_; }
  Clock::time_point since() const { return since_; }  ///< when the state became what it is

  /// Whether the pictures have become others than the first: of another size, for one.
  bool isOtherwise() const { return isOtherwise_; }

 private:
  struct Library {
    Library();
    ~Library() { pw_deinit(); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
  };
  struct End {
    void operator()(pw_loop* loop) const;
    void operator()(pw_context* context) const { pw_context_destroy(context); }
    void operator()(pw_core* core) const { pw_core_disconnect(core); }
    void operator()(pw_stream* stream) const { pw_stream_destroy(stream); }
  };
  template <typename Object>
  using Owned = std::unique_ptr<Object, End>;

  static pw_stream_events streamEvents();
  static pw_core_events coreEvents();

  bool connect();
  bool makeStream(std::uint32_t node);
  void become(State state);
  void takeState(pw_stream_state state);
  void takeFormat(const spa_pod& format);
  void takeBuffers();
  bool takeBuffer(const spa_buffer& buffer, const PictureLayout& layout);

  Descriptor remote_;  ///< until it is the library's
  Wishes wishes_;
  Handlers handlers_;
  State state_ = State::beginning;
  Clock::time_point since_ = Clock::now();
  std::mutex mutex_;                     ///< guards the next one
  std::optional<PictureLayout> layout_;  ///< nothing once it is another than the first
  bool isOtherwise_ = false;
  pw_stream_events streamEvents_ = streamEvents();
  pw_core_events coreEvents_ = coreEvents();
  spa_hook ofStream_{};
  spa_hook ofCore_{};
  // Each ends before those that it was made from, and calls back while it does.
  Library library_;
  Owned<pw_loop> loop_;
  spa_source* news_ = nullptr;  ///< of the loop
  Owned<pw_context> context_;
  Owned<pw_core> core_;
  Owned<pw_stream> stream_;
};

}  // namespace vesk::portal::screen
