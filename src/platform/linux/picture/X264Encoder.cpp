#include "platform/linux/picture/X264Encoder.h"

#include <x264.h>

#include <algorithm>
#include <span>

namespace vesk::picture {
namespace {

/// The conversion of the screen's pixels uses this matrix, so a decoder must too.
constexpr int matrixBt601 = 6;
constexpr int primariesOfSrgb = 1;
constexpr int transferOfSrgb = 13;
/// Nor would it look for a sample of the chroma in the middle of the four pixels that it was made
/// of: by itself it takes it to lie between the two on the left.
constexpr int chromaInTheMiddle = 1;

x264_param_t parametersFor(const X264Settings& settings) {
  x264_param_t parameters;
  x264_param_default_preset(&parameters, "ultrafast", "zerolatency");
  parameters.i_log_level = X264_LOG_NONE;
  parameters.i_threads = 1;
  parameters.b_sliced_threads = 0;
  parameters.i_csp = X264_CSP_NV12;
  parameters.i_width = settings.width;
  parameters.i_height = settings.height;
  parameters.i_fps_num = static_cast<std::uint32_t>(settings.framesPerSecond);
  parameters.i_fps_den = 1;
  parameters.b_vfr_input = 0;
  parameters.i_keyint_max = X264_KEYINT_MAX_INFINITE;
  parameters.i_scenecut_threshold = 0;
  parameters.b_annexb = 0;
  parameters.b_repeat_headers = 0;
  parameters.analyse.b_mb_info = 1;
  parameters.vui.b_fullrange = 0;
  parameters.vui.i_colorprim = primariesOfSrgb;
  parameters.vui.i_transfer = transferOfSrgb;
  parameters.vui.i_colmatrix = matrixBt601;
  parameters.vui.i_chroma_loc = chromaInTheMiddle;
  // Every picture comes with its quantiser: the encoder's own rate control knows nothing of the
  // pictures that are put in between, nor of what a still screen has saved. With a constant
  // quantiser it looks ahead at nothing, which saves a fifth of its time and memory, but clips what
  // comes with a picture to what it would use for the kinds of pictures: from 11 to 51 with these.
  constexpr float widestFactor = 10;
  parameters.rc.i_rc_method = X264_RC_CQP;
  parameters.rc.i_qp_constant = 31;
  parameters.rc.f_ip_factor = widestFactor;
  parameters.rc.f_pb_factor = widestFactor;
  x264_param_apply_profile(&parameters, "baseline");
  return parameters;
}

X264Encoder::Bytes bytesOf(const x264_nal_t& unit, std::size_t offset) {
  const auto* first = reinterpret_cast<const std::byte*>(unit.p_payload);
  return {first + offset, first + unit.i_payload};
}

}  // namespace

void X264Encoder::Close::operator()(x264_t* encoder) const { x264_encoder_close(encoder); }

std::uint8_t X264Encoder::unchangedMark() { return X264_MBINFO_CONSTANT; }

X264Encoder::X264Encoder(const X264Settings& settings) : settings_(settings) {
  // Numbers that the encoder's own arithmetic was not made for never reach it.
  constexpr std::int32_t largestEdge = 16384;
  const auto fits = [](std::int32_t edge) {
    return edge >= 2 && edge <= largestEdge && edge % 2 == 0;
  };
  if (!fits(settings.width) || !fits(settings.height) || settings.framesPerSecond < 1) return;
  auto parameters = parametersFor(settings);
  encoder_.reset(x264_encoder_open(&parameters));
  if (encoder_ != nullptr) readParameterSets();
}

void X264Encoder::readParameterSets() {
  x264_nal_t* units = nullptr;
  int count = 0;
  if (x264_encoder_headers(encoder_.get(), &units, &count) < 0) return;
  constexpr std::size_t lengthSize = 4;
  for (const auto& unit : std::span(units, static_cast<std::size_t>(count))) {
    // The encoder's own description of itself is of no use to a viewer.
    if (unit.i_type != NAL_SPS && unit.i_type != NAL_PPS) continue;
    parameterSets_.push_back(bytesOf(unit, lengthSize));
  }
}

std::optional<X264Encoder::Bytes> X264Encoder::encode(const Nv12Image& image,
                                                      const Request& request) {
  if (image.size() != PixelSize{settings_.width, settings_.height}) return std::nullopt;

  x264_picture_t picture;
  x264_picture_init(&picture);
  picture.i_type = request.keyFrame ? X264_TYPE_IDR : X264_TYPE_P;
  picture.i_qpplus1 = request.quantiser + 1;
  picture.i_pts = frames_++;
  picture.img.i_csp = X264_CSP_NV12;
  picture.img.i_plane = 2;
  picture.img.i_stride[0] = picture.img.i_stride[1] = image.stride();
  // The encoder only reads them.
  picture.img.plane[0] = const_cast<std::uint8_t*>(image.luma());
  picture.img.plane[1] = const_cast<std::uint8_t*>(image.chroma());
  if (request.unchanged != nullptr) picture.prop.mb_info = request.unchanged->data();

  x264_nal_t* units = nullptr;
  int count = 0;
  x264_picture_t encoded;
  const int size = x264_encoder_encode(encoder_.get(), &units, &count, &picture, &encoded);
  if (size <= 0 || count < 1) return std::nullopt;
  // The units of one picture lie one behind the other.
  const auto* first = reinterpret_cast<const std::byte*>(units->p_payload);
  return Bytes(first, first + size);
}

}  // namespace vesk::picture
