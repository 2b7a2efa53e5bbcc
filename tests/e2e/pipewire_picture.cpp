// Writes the next picture of a node of PipeWire's, for tests in other languages: what a compositor
// shows on a screen, without the program's help. A portable pixmap goes to standard output.

#include <pipewire/pipewire.h>
#include <spa/param/buffers.h>
#include <spa/param/format.h>
#include <spa/param/param.h>
#include <spa/param/video/raw.h>
#include <spa/pod/builder.h>
#include <spa/utils/type.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>

namespace {

constexpr std::uint32_t bytesPerPixel = 4;

struct Viewer {
  pw_main_loop* loop = nullptr;
  pw_stream* stream = nullptr;
  std::string error;
  bool isDone = false;

  void fail(const char* reason) {
    error = reason != nullptr ? reason : "the stream has ended";
    pw_main_loop_quit(loop);
  }
};

void write(const spa_data& data) {
  const auto stride = static_cast<std::size_t>(data.chunk->stride);
  const std::size_t height = data.chunk->size / stride;
  const std::size_t width = stride / bytesPerPixel;
  const auto* pixels = static_cast<const char*>(data.data) + data.chunk->offset;
  std::string text = "P6 " + std::to_string(width) + " " + std::to_string(height) + " 255\n";
  const std::size_t header = text.size();
  text.resize(header + (width * height * 3));
  // By pointers, which are fast where nothing is optimised too.
  char* written = text.data() + header;
  for (const char* const end = pixels + (width * height * bytesPerPixel); pixels != end;
       pixels += bytesPerPixel) {
    *written++ = pixels[2];
    *written++ = pixels[1];
    *written++ = pixels[0];
  }
  std::cout.write(text.data(), static_cast<std::streamsize>(text.size())).flush();
}

void takeBuffers(void* self) {
  auto& viewer = *static_cast<Viewer*>(self);
  while (auto* buffer = pw_stream_dequeue_buffer(viewer.stream)) {
    const spa_data& data = buffer->buffer->datas[0];
    // One that is empty tells of the pointer alone.
    const bool isPicture =
        data.data != nullptr && data.chunk->size > 0 && data.chunk->stride > 0 && !viewer.isDone;
    if (isPicture) {
      write(data);
      viewer.isDone = true;
      pw_main_loop_quit(viewer.loop);
    }
    pw_stream_queue_buffer(viewer.stream, buffer);
  }
}

void takeState(void* self, pw_stream_state /*before*/, pw_stream_state state, const char* error) {
  if (state == PW_STREAM_STATE_ERROR || state == PW_STREAM_STATE_UNCONNECTED)
    static_cast<Viewer*>(self)->fail(error);
}

/// As few as there may be: every one is cleared and held in memory before the first is shown, and
/// of a whole screen's size.
void takeFormat(void* self, std::uint32_t id, const spa_pod* format) {
  if (id != SPA_PARAM_Format || format == nullptr) return;
  std::array<std::uint8_t, 256> memory{};
  spa_pod_builder builder{};
  spa_pod_frame frame{};
  spa_pod_builder_init(&builder, memory.data(), static_cast<std::uint32_t>(memory.size()));
  spa_pod_builder_push_object(&builder, &frame, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers);
  spa_pod_builder_prop(&builder, SPA_PARAM_BUFFERS_buffers, 0);
  spa_pod_builder_int(&builder, 2);
  const auto* buffers = static_cast<const spa_pod*>(spa_pod_builder_pop(&builder, &frame));
  pw_stream_update_params(static_cast<Viewer*>(self)->stream, &buffers, 1);
}

bool connect(Viewer& viewer, std::uint32_t node) {
  std::array<std::uint8_t, 256> memory{};
  spa_pod_builder builder{};
  spa_pod_frame frame{};
  spa_pod_builder_init(&builder, memory.data(), static_cast<std::uint32_t>(memory.size()));
  spa_pod_builder_push_object(&builder, &frame, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
  const auto require = [&](std::uint32_t key, std::uint32_t value) {
    spa_pod_builder_prop(&builder, key, 0);
    spa_pod_builder_id(&builder, value);
  };
  require(SPA_FORMAT_mediaType, SPA_MEDIA_TYPE_video);
  require(SPA_FORMAT_mediaSubtype, SPA_MEDIA_SUBTYPE_raw);
  require(SPA_FORMAT_VIDEO_format, SPA_VIDEO_FORMAT_BGRx);
  const auto* format = static_cast<const spa_pod*>(spa_pod_builder_pop(&builder, &frame));
  return pw_stream_connect(
             viewer.stream, PW_DIRECTION_INPUT, node,
             static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS),
             &format, 1) == 0;
}

}  // namespace

int main(int argc, char* argv[]) {
  if (argc != 2) {
    std::cerr << "usage: pipewire_picture NODE\n";
    return EXIT_FAILURE;
  }
  pw_init(nullptr, nullptr);
  Viewer viewer;
  viewer.loop = pw_main_loop_new(nullptr);
  pw_stream_events events{};
  events.version = PW_VERSION_STREAM_EVENTS;
  events.state_changed = takeState;
  events.param_changed = takeFormat;
  events.process = takeBuffers;
  viewer.stream = pw_stream_new_simple(pw_main_loop_get_loop(viewer.loop), "picture",
                                       pw_properties_new(nullptr, nullptr), &events, &viewer);
  if (viewer.stream == nullptr ||
      !connect(viewer, static_cast<std::uint32_t>(std::strtoul(argv[1], nullptr, 10)))) {
    std::cerr << "pipewire_picture: no connection to PipeWire\n";
    return EXIT_FAILURE;
  }
  pw_main_loop_run(viewer.loop);
  if (!viewer.isDone) std::cerr << "pipewire_picture: " << viewer.error << '\n';
  // Told of its own end no more.
  const bool isDone = viewer.isDone;
  pw_stream_destroy(viewer.stream);
  pw_main_loop_destroy(viewer.loop);
  pw_deinit();
  return isDone ? EXIT_SUCCESS : EXIT_FAILURE;
}
