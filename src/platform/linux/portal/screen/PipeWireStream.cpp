#include "platform/linux/portal/screen/PipeWireStream.h"

#include <fcntl.h>
#include <pipewire/impl-module.h>

#include <array>
#include <cerrno>
#include <utility>

#include "platform/linux/portal/screen/PointerNews.h"
#include "platform/linux/portal/screen/StreamParameters.h"
#include "platform/linux/portal/screen/bufferContents.h"

namespace vesk::portal::screen {
namespace {

/// Those that a stream of pictures needs. The person's configuration would add others, of which one
/// asks for real-time priority over the system's bus and waits for the answer.
constexpr std::array modules{"libpipewire-module-protocol-native",
                             "libpipewire-module-client-node"};

/// Nobody's hang is to become this program's.
bool makeNonBlocking(int descriptor) {
  const int flags = ::fcntl(descriptor, F_GETFL);
  return flags >= 0 && ::fcntl(descriptor, F_SETFL, flags | O_NONBLOCK) == 0;
}

}  // namespace

PipeWireStream::Library::Library() {
  pw_init(nullptr, nullptr);
  // It would complain of modules that are left out on purpose.
  pw_log_set_level(SPA_LOG_LEVEL_ERROR);
}

void PipeWireStream::End::operator()(pw_loop* loop) const {
  pw_loop_leave(loop);
  pw_loop_destroy(loop);
}

PipeWireStream::PipeWireStream(Descriptor remote, std::uint32_t node, Wishes wishes,
                               Handlers handlers)
    : remote_(std::move(remote)), wishes_(wishes), handlers_(std::move(handlers)) {
  if (!connect() || !makeStream(node)) stream_.reset();
}

PipeWireStream::~PipeWireStream() = default;

bool PipeWireStream::connect() {
  if (!remote_ || !makeNonBlocking(remote_.get())) return false;
  pw_loop* const loop = pw_loop_new(nullptr);
  if (loop == nullptr) return false;
  pw_loop_enter(loop);
  loop_.reset(loop);
  news_ = pw_loop_add_event(
      loop, [](void*, std::uint64_t) {}, nullptr);
  if (news_ == nullptr) return false;
  context_.reset(pw_context_new(loop, pw_properties_new(PW_KEY_CONFIG_NAME, "null", nullptr), 0));
  if (context_ == nullptr) return false;
  for (const auto* const module : modules) {
    if (pw_context_load_module(context_.get(), module, nullptr, nullptr) == nullptr) return false;
  }
  core_.reset(pw_context_connect_fd(context_.get(), remote_.release(), nullptr, 0));
  if (core_ == nullptr) return false;
  // Before the stream listens, which then says of itself only that it has ended.
  pw_core_add_listener(core_.get(), &ofCore_, &coreEvents_, this);
  return true;
}

bool PipeWireStream::makeStream(std::uint32_t node) {
  auto* const properties = pw_properties_new(PW_KEY_MEDIA_TYPE, "Video", PW_KEY_MEDIA_CATEGORY,
                                             "Capture", PW_KEY_MEDIA_ROLE, "Screen", nullptr);
  stream_.reset(pw_stream_new(core_.get(), "screen", properties));
  if (stream_ == nullptr) return false;
  pw_stream_add_listener(stream_.get(), &ofStream_, &streamEvents_, this);
  StreamParameters parameters;
  auto formats = parameters.formats(wishes_.framesPerSecond);
  // One that came back later might be another one's picture.
  constexpr auto flags = static_cast<pw_stream_flags>(
      PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS | PW_STREAM_FLAG_DONT_RECONNECT |
      PW_STREAM_FLAG_NO_CONVERT | PW_STREAM_FLAG_RT_PROCESS);
  return pw_stream_connect(stream_.get(), PW_DIRECTION_INPUT, node, flags, formats.data(),
                           static_cast<std::uint32_t>(formats.size())) >= 0;
}

pw_core_events PipeWireStream::coreEvents() {
  pw_core_events events{};
  events.version = PW_VERSION_CORE_EVENTS;
  events.error = [](void* self, std::uint32_t id, int, int error, const char*) {
    if (id == PW_ID_CORE && error == -EPIPE)
      static_cast<PipeWireStream*>(self)->become(State::serviceGone);
  };
  return events;
}

pw_stream_events PipeWireStream::streamEvents() {
  pw_stream_events events{};
  events.version = PW_VERSION_STREAM_EVENTS;
  events.state_changed = [](void* self, pw_stream_state, pw_stream_state state, const char*) {
    static_cast<PipeWireStream*>(self)->takeState(state);
  };
  events.param_changed = [](void* self, std::uint32_t id, const spa_pod* parameter) {
    // None comes in between, while another one is agreed on.
    if (id == SPA_PARAM_Format && parameter != nullptr)
      static_cast<PipeWireStream*>(self)->takeFormat(*parameter);
  };
  events.process = [](void* self) { static_cast<PipeWireStream*>(self)->takeBuffers(); };
  return events;
}

int PipeWireStream::descriptor() const { return pw_loop_get_fd(loop_.get()); }

void PipeWireStream::iterate() { pw_loop_iterate(loop_.get(), 0); }

void PipeWireStream::beginAnew() {
  pw_stream_set_active(stream_.get(), false);
  pw_stream_set_active(stream_.get(), true);
}

void PipeWireStream::become(State state) {
  const bool isOver = state_ == State::ended || state_ == State::serviceGone;
  if (isOver || state == state_) return;
  state_ = state;
  since_ = Clock::now();
}

void PipeWireStream::takeState(pw_stream_state state) {
  switch (state) {
    case PW_STREAM_STATE_ERROR:
    case PW_STREAM_STATE_UNCONNECTED:
      return become(State::ended);
    case PW_STREAM_STATE_CONNECTING:
      return;
    case PW_STREAM_STATE_PAUSED:
      if (state_ != State::beginning) become(State::halted);
      return;
    case PW_STREAM_STATE_STREAMING:
      return become(State::flowing);
  }
}

void PipeWireStream::takeFormat(const spa_pod& format) {
  const auto layout = layoutOf(format);
  if (!layout) return become(State::ended);
  {
    const std::lock_guard lock(mutex_);
    if (layout_ && *layout_ != *layout) isOtherwise_ = true;
    layout_ = isOtherwise_ ? std::nullopt : layout;
  }
  StreamParameters parameters;
  auto buffers = parameters.buffers(wishes_.pointer);
  pw_stream_update_params(stream_.get(), buffers.data(),
                          static_cast<std::uint32_t>(buffers.size()));
}

void PipeWireStream::takeBuffers() {
  std::optional<PictureLayout> layout;
  {
    const std::lock_guard lock(mutex_);
    layout = layout_;
  }
  bool isNews = false;
  while (pw_buffer* const buffer = pw_stream_dequeue_buffer(stream_.get())) {
    if (layout && takeBuffer(*buffer->buffer, *layout)) isNews = true;
    pw_stream_queue_buffer(stream_.get(), buffer);
  }
  if (isNews) pw_loop_signal_event(loop_.get(), news_);
}

/// Whether there was anything in it.
bool PipeWireStream::takeBuffer(const spa_buffer& buffer, const PictureLayout& layout) {
  auto pointer = pointerIn(buffer);
  const auto picture = pictureIn(buffer, layout);
  const bool isNews = pointer || picture;
  if (pointer) handlers_.pointer(std::move(*pointer));
  if (picture) handlers_.picture(*picture);
  return isNews;
}

}  // namespace vesk::portal::screen
