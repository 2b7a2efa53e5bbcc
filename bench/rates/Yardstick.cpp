#include "rates/Yardstick.h"

#include <x264.h>

#include <cstdlib>

namespace vesk::rates {

void Yardstick::Close::operator()(x264_t* encoder) const { x264_encoder_close(encoder); }

Yardstick::Yardstick(PixelSize size, int picturesPerSecond, int kilobitsPerSecond) {
  x264_param_t parameters;
  x264_param_default_preset(&parameters, "ultrafast", "zerolatency");
  parameters.i_log_level = X264_LOG_NONE;
  parameters.i_threads = 1;
  parameters.b_sliced_threads = 0;
  parameters.i_csp = X264_CSP_NV12;
  parameters.i_width = static_cast<int>(size.width);
  parameters.i_height = static_cast<int>(size.height);
  parameters.i_fps_num = static_cast<std::uint32_t>(picturesPerSecond);
  parameters.i_fps_den = 1;
  parameters.b_vfr_input = 0;
  parameters.i_keyint_max = 4 * picturesPerSecond;
  parameters.rc.i_rc_method = X264_RC_ABR;
  parameters.rc.i_bitrate = kilobitsPerSecond;
  parameters.rc.i_vbv_max_bitrate = kilobitsPerSecond;
  parameters.rc.i_vbv_buffer_size = kilobitsPerSecond / 2;
  x264_param_apply_profile(&parameters, "baseline");
  encoder_.reset(x264_encoder_open(&parameters));
  if (encoder_ == nullptr) std::abort();
}

std::vector<std::byte> Yardstick::encode(const picture::Nv12Image& image) {
  x264_picture_t picture;
  x264_picture_init(&picture);
  picture.i_pts = pictures_++;
  picture.img.i_csp = X264_CSP_NV12;
  picture.img.i_plane = 2;
  picture.img.i_stride[0] = picture.img.i_stride[1] = image.stride();
  picture.img.plane[0] = const_cast<std::uint8_t*>(image.luma());
  picture.img.plane[1] = const_cast<std::uint8_t*>(image.chroma());
  x264_nal_t* units = nullptr;
  int count = 0;
  x264_picture_t encoded;
  const int size = x264_encoder_encode(encoder_.get(), &units, &count, &picture, &encoded);
  if (size <= 0) std::abort();
  const auto* first = reinterpret_cast<const std::byte*>(units->p_payload);
  return {first, first + size};
}

}  // namespace vesk::rates
