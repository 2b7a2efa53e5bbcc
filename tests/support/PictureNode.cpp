#include "support/PictureNode.h"

#include <spa/buffer/buffer.h>
#include <spa/buffer/meta.h>
#include <spa/param/buffers.h>
#include <spa/param/format.h>
#include <spa/param/param.h>
#include <spa/pod/builder.h>
#include <spa/utils/type.h>

#include <array>
#include <cstring>
#include <stdexcept>

#include "platform/Descriptor.h"
#include "platform/UnixSocket.h"
#include "support/Patience.h"

namespace vesk::testing {
namespace {

constexpr std::size_t mostDamage = 16;
constexpr std::uint32_t bytesPerPixel = 4;

/// Numbers of one kind in the service's own form.
class Parameter {
 public:
  Parameter(std::uint32_t type, std::uint32_t id) {
    spa_pod_builder_init(&builder_, memory_.data(), static_cast<std::uint32_t>(memory_.size()));
    spa_pod_builder_push_object(&builder_, &frame_, type, id);
  }
  Parameter& identifier(std::uint32_t key, std::uint32_t value) {
    spa_pod_builder_prop(&builder_, key, 0);
    spa_pod_builder_id(&builder_, value);
    return *this;
  }
  Parameter& integer(std::uint32_t key, std::uint32_t value) {
    spa_pod_builder_prop(&builder_, key, 0);
    spa_pod_builder_int(&builder_, static_cast<std::int32_t>(value));
    return *this;
  }
  Parameter& size(std::uint32_t key, PixelSize size) {
    spa_pod_builder_prop(&builder_, key, 0);
    spa_pod_builder_rectangle(&builder_, static_cast<std::uint32_t>(size.width),
                              static_cast<std::uint32_t>(size.height));
    return *this;
  }
  Parameter& rate(std::uint32_t key, std::uint32_t perSecond) {
    spa_pod_builder_prop(&builder_, key, 0);
    spa_pod_builder_fraction(&builder_, perSecond, 1);
    return *this;
  }
  const spa_pod* finished() {
    return static_cast<const spa_pod*>(spa_pod_builder_pop(&builder_, &frame_));
  }

 private:
  std::array<std::uint8_t, 512> memory_{};
  spa_pod_builder builder_{};
  spa_pod_frame frame_{};
};

Parameter format(const PictureNode::Kind& kind) {
  Parameter said(SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
  said.identifier(SPA_FORMAT_mediaType, SPA_MEDIA_TYPE_video)
      .identifier(SPA_FORMAT_mediaSubtype, SPA_MEDIA_SUBTYPE_raw)
      .identifier(SPA_FORMAT_VIDEO_format, kind.format)
      .size(SPA_FORMAT_VIDEO_size, kind.size)
      .rate(SPA_FORMAT_VIDEO_framerate, 0);
  return said;
}

std::uint32_t strideOf(PixelSize size) {
  return static_cast<std::uint32_t>(size.width) * bytesPerPixel;
}

}  // namespace

class PictureNode::Lock {
 public:
  explicit Lock(pw_thread_loop* loop) : loop_(loop) { pw_thread_loop_lock(loop_); }
  ~Lock() { pw_thread_loop_unlock(loop_); }
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;

 private:
  pw_thread_loop* loop_;
};

PictureNode::PictureNode(const std::string& socket, Kind kind, Pixels first)
    : kind_(kind), first_(std::move(first)) {
  pw_init(nullptr, nullptr);
  loop_.reset(pw_thread_loop_new("picture", nullptr));
  context_.reset(pw_context_new(pw_thread_loop_get_loop(loop_.get()), nullptr, 0));
  auto remote = unixSocket::open();
  if (!unixSocket::connect(remote, socket)) throw std::runtime_error("PipeWire does not answer");
  core_.reset(pw_context_connect_fd(context_.get(), remote.release(), nullptr, 0));
  if (core_ == nullptr) throw std::runtime_error("no connection to PipeWire");
  stream_.reset(pw_stream_new(core_.get(), "picture",
                              pw_properties_new(PW_KEY_MEDIA_CLASS, "Video/Source", nullptr)));
  events_.version = PW_VERSION_STREAM_EVENTS;
  events_.state_changed = [](void* self, pw_stream_state, pw_stream_state state, const char*) {
    auto& node = *static_cast<PictureNode*>(self);
    if (state == PW_STREAM_STATE_STREAMING) node.fillBuffer(node.first_, {});
  };
  events_.param_changed = [](void* self, std::uint32_t id, const spa_pod* parameter) {
    if (id == SPA_PARAM_Format && parameter != nullptr)
      static_cast<PictureNode*>(self)->offerBuffers();
  };
  pw_stream_add_listener(stream_.get(), &hook_, &events_, this);
  auto said = format(kind_);
  const spa_pod* parameters = said.finished();
  if (pw_stream_connect(
          stream_.get(), PW_DIRECTION_OUTPUT, PW_ID_ANY,
          static_cast<pw_stream_flags>(PW_STREAM_FLAG_DRIVER | PW_STREAM_FLAG_MAP_BUFFERS),
          &parameters, 1) < 0)
    throw std::runtime_error("no stream");
  if (pw_thread_loop_start(loop_.get()) != 0) throw std::runtime_error("no thread");
}

PictureNode::~PictureNode() {
  pw_thread_loop_stop(loop_.get());
  stream_.reset();
  core_.reset();
  context_.reset();
  loop_.reset();
  pw_deinit();
}

std::uint32_t PictureNode::node() {
  std::uint32_t id = SPA_ID_INVALID;
  const auto isThere = [&] {
    const Lock lock(loop_.get());
    id = pw_stream_get_node_id(stream_.get());
    return id != SPA_ID_INVALID;
  };
  if (!waitUntil(isThere)) throw std::runtime_error("no node has come");
  return id;
}

void PictureNode::send(const Pixels& pixels, const Damage& damage) {
  const auto isSent = [&] {
    const Lock lock(loop_.get());
    return fillBuffer(pixels, damage);
  };
  if (!waitUntil(isSent)) throw std::runtime_error("no buffer has come back");
}

void PictureNode::halt() {
  const Lock lock(loop_.get());
  pw_stream_set_active(stream_.get(), false);
}

void PictureNode::become(Kind kind) {
  const Lock lock(loop_.get());
  kind_ = kind;
  first_.assign(static_cast<std::size_t>(kind.size.width * kind.size.height), 0);
  auto said = format(kind_);
  const spa_pod* parameters = said.finished();
  pw_stream_update_params(stream_.get(), &parameters, 1);
}

bool PictureNode::fillBuffer(const Pixels& pixels, const Damage& damage) {
  pw_buffer* const buffer = pw_stream_dequeue_buffer(stream_.get());
  if (buffer == nullptr) return false;
  const spa_data& data = buffer->buffer->datas[0];
  const auto bytes = static_cast<std::uint32_t>(pixels.size()) * bytesPerPixel;
  std::memcpy(data.data, pixels.data(), bytes);
  *data.chunk = {0, bytes, static_cast<std::int32_t>(strideOf(kind_.size)), 0};
  auto* region = static_cast<spa_meta_region*>(
      spa_buffer_find_meta_data(buffer->buffer, SPA_META_VideoDamage, mostDamage));
  for (std::size_t i = 0; region != nullptr && i < mostDamage; ++i) {
    const auto rect = i < damage.size() ? damage[i] : picture::PixelRect{};
    region[i].region = {
        {rect.x, rect.y},
        {static_cast<std::uint32_t>(rect.width), static_cast<std::uint32_t>(rect.height)}};
  }
  pw_stream_queue_buffer(stream_.get(), buffer);
  return true;
}

void PictureNode::offerBuffers() {
  const auto stride = strideOf(kind_.size);
  Parameter buffers(SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers);
  buffers.integer(SPA_PARAM_BUFFERS_buffers, 4)
      .integer(SPA_PARAM_BUFFERS_blocks, 1)
      .integer(SPA_PARAM_BUFFERS_size, stride * static_cast<std::uint32_t>(kind_.size.height))
      .integer(SPA_PARAM_BUFFERS_stride, stride);
  Parameter damage(SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta);
  damage.identifier(SPA_PARAM_META_type, SPA_META_VideoDamage)
      .integer(SPA_PARAM_META_size, mostDamage * sizeof(spa_meta_region));
  std::array said{buffers.finished(), damage.finished()};
  pw_stream_update_params(stream_.get(), said.data(), said.size());
}

}  // namespace vesk::testing
