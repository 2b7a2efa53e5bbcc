#include "platform/linux/portal/screen/StreamParameters.h"

#include <spa/buffer/buffer.h>
#include <spa/buffer/meta.h>
#include <spa/param/buffers.h>
#include <spa/param/format.h>
#include <spa/param/param.h>
#include <spa/param/video/format-utils.h>
#include <spa/utils/type.h>

#include <algorithm>

namespace vesk::portal::screen {
namespace {

constexpr std::uint32_t leastEdge = 2;
constexpr std::uint32_t mostEdge = 16384;

/// The first is what most desktops have in memory.
constexpr std::array formats{SPA_VIDEO_FORMAT_BGRx, SPA_VIDEO_FORMAT_BGRA, SPA_VIDEO_FORMAT_RGBx,
                             SPA_VIDEO_FORMAT_RGBA};

constexpr std::int32_t mostDamage = 16;

constexpr std::int32_t pointerSize(int side) {
  return static_cast<std::int32_t>(sizeof(spa_meta_cursor) + sizeof(spa_meta_bitmap)) +
         side * side * 4;
}

std::int32_t sizeOf(std::size_t bytes) { return static_cast<std::int32_t>(bytes); }

}  // namespace

StreamParameters::StreamParameters() {
  spa_pod_builder_init(&builder_, memory_.data(), static_cast<std::uint32_t>(memory_.size()));
}

StreamParameters::Parameters StreamParameters::formats(int framesPerSecond) {
  object(SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat, [&] {
    identifier(SPA_FORMAT_mediaType, SPA_MEDIA_TYPE_video);
    identifier(SPA_FORMAT_mediaSubtype, SPA_MEDIA_SUBTYPE_raw);
    choice(SPA_FORMAT_VIDEO_format, SPA_CHOICE_Enum, [&] {
      // A choice begins with what is liked best.
      spa_pod_builder_id(&builder_, screen::formats.front());
      for (const auto format : screen::formats) spa_pod_builder_id(&builder_, format);
    });
    choice(SPA_FORMAT_VIDEO_size, SPA_CHOICE_Range, [&] {
      spa_pod_builder_rectangle(&builder_, 1920, 1080);
      spa_pod_builder_rectangle(&builder_, leastEdge, leastEdge);
      spa_pod_builder_rectangle(&builder_, mostEdge, mostEdge);
    });
    const auto most = static_cast<std::uint32_t>(std::max(framesPerSecond, 1));
    // Nought stands for pictures that come when something has changed.
    choice(SPA_FORMAT_VIDEO_framerate, SPA_CHOICE_Range, [&] {
      spa_pod_builder_fraction(&builder_, 0, 1);
      spa_pod_builder_fraction(&builder_, 0, 1);
      spa_pod_builder_fraction(&builder_, 1000, 1);
    });
    choice(SPA_FORMAT_VIDEO_maxFramerate, SPA_CHOICE_Range, [&] {
      spa_pod_builder_fraction(&builder_, most, 1);
      spa_pod_builder_fraction(&builder_, 1, 1);
      spa_pod_builder_fraction(&builder_, most, 1);
    });
  });
  return {said_.data(), count_};
}

StreamParameters::Parameters StreamParameters::buffers(bool withPointer) {
  object(SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers, [&] {
    // Mutter drops what finds none free, and sends nothing more where that was the last of it: with
    // four, the viewer kept an old picture after one in seven hold-ups of a third of a second.
    choice(SPA_PARAM_BUFFERS_buffers, SPA_CHOICE_Range, [&] {
      for (const int count : {8, 2, 16}) spa_pod_builder_int(&builder_, count);
    });
    choice(SPA_PARAM_BUFFERS_dataType, SPA_CHOICE_Flags,
           [&] { spa_pod_builder_int(&builder_, 1 << SPA_DATA_MemFd | 1 << SPA_DATA_MemPtr); });
  });
  metadata(SPA_META_Header, sizeOf(sizeof(spa_meta_header)), sizeOf(sizeof(spa_meta_header)),
           sizeOf(sizeof(spa_meta_header)));
  metadata(SPA_META_VideoDamage, mostDamage * sizeOf(sizeof(spa_meta_region)),
           sizeOf(sizeof(spa_meta_region)), mostDamage * sizeOf(sizeof(spa_meta_region)));
  if (withPointer) metadata(SPA_META_Cursor, pointerSize(64), pointerSize(1), pointerSize(1024));
  return {said_.data(), count_};
}

/// Memory that did not suffice makes it null, which no stream takes.
template <typename Write>
void StreamParameters::object(std::uint32_t type, std::uint32_t id, Write write) {
  spa_pod_frame frame;
  spa_pod_builder_push_object(&builder_, &frame, type, id);
  write();
  said_.at(count_++) = static_cast<const spa_pod*>(spa_pod_builder_pop(&builder_, &frame));
}

template <typename Write>
void StreamParameters::choice(std::uint32_t key, std::uint32_t kind, Write write) {
  spa_pod_frame frame;
  spa_pod_builder_prop(&builder_, key, 0);
  spa_pod_builder_push_choice(&builder_, &frame, kind, 0);
  write();
  spa_pod_builder_pop(&builder_, &frame);
}

void StreamParameters::identifier(std::uint32_t key, std::uint32_t value) {
  spa_pod_builder_prop(&builder_, key, 0);
  spa_pod_builder_id(&builder_, value);
}

void StreamParameters::metadata(std::uint32_t type, std::int32_t usual, std::int32_t least,
                                std::int32_t most) {
  object(SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta, [&] {
    identifier(SPA_PARAM_META_type, type);
    choice(SPA_PARAM_META_size, SPA_CHOICE_Range, [&] {
      for (const auto size : {usual, least, most}) spa_pod_builder_int(&builder_, size);
    });
  });
}

std::optional<PictureLayout> layoutOf(const spa_pod& format) {
  spa_video_info_raw info{};
  if (spa_format_video_raw_parse(&format, &info) < 0) return std::nullopt;
  if (std::ranges::count(formats, info.format) == 0) return std::nullopt;
  const auto [width, height] = info.size;
  if (std::min(width, height) < leastEdge || std::max(width, height) > mostEdge)
    return std::nullopt;
  const bool isRedFirst =
      info.format == SPA_VIDEO_FORMAT_RGBx || info.format == SPA_VIDEO_FORMAT_RGBA;
  using enum PictureLayout::FirstColour;
  return PictureLayout{{width, height}, isRedFirst ? red : blue};
}

}  // namespace vesk::portal::screen
