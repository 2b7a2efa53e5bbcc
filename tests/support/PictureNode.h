#pragma once

#include <pipewire/pipewire.h>
#include <spa/param/video/raw.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/Geometry.h"
#include "platform/linux/picture/PixelRect.h"

namespace vesk::testing {

/// A screen's stream that is given to PipeWire by the test itself, for what desktops elsewhere do:
/// they tell what has changed, keep red before blue, and change a stream's size.
///
/// Thread: one at a time, and one of its own. Fails: with std::runtime_error.
class PictureNode {
 public:
  struct Kind {
    PixelSize size;
    spa_video_format format = SPA_VIDEO_FORMAT_BGRx;
  };
  using Pixels = std::vector<std::uint32_t>;  ///< as they lie in memory, row by row
  using Damage = std::vector<picture::PixelRect>;

  /// `socket` is PipeWire's. Whoever connects gets the first picture at once.
  PictureNode(const std::string& socket, Kind kind, Pixels first);
  ~PictureNode();
  PictureNode(const PictureNode&) = delete;
  PictureNode& operator=(const PictureNode&) = delete;

  /// Of PipeWire.
  std::uint32_t node();

  /// Sends a picture. Nothing is told of what has changed where `damage` is empty.
  void send(const Pixels& pixels, const Damage& damage = {});

  /// Sends nothing any more, and stays.
  void halt();

  /// Its pictures are of another kind from then on.
  void become(Kind kind);

 private:
  struct End {
    void operator()(pw_thread_loop* loop) const { pw_thread_loop_destroy(loop); }
    void operator()(pw_context* context) const { pw_context_destroy(context); }
    void operator()(pw_core* core) const { pw_core_disconnect(core); }
    void operator()(pw_stream* stream) const { pw_stream_destroy(stream); }
  };
  template <typename Object>
  using Owned = std::unique_ptr<Object, End>;
  class Lock;

  bool fillBuffer(const Pixels& pixels, const Damage& damage);
  void offerBuffers();

  Kind kind_;
  Pixels first_;
  pw_stream_events events_{};
  spa_hook hook_{};
  Owned<pw_thread_loop> loop_;
  Owned<pw_context> context_;
  Owned<pw_core> core_;
  Owned<pw_stream> stream_;
};

}  // namespace vesk::testing
