#include "platform/linux/picture/X264Encoder.h"

#include <libyuv.h>
#include <x264.h>

#include <algorithm>
#include <cmath>
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

void describeColours(x264_param_t& parameters) {
  parameters.vui.b_fullrange = 0;
  parameters.vui.i_colorprim = primariesOfSrgb;
  parameters.vui.i_transfer = transferOfSrgb;
  parameters.vui.i_colmatrix = matrixBt601;
  parameters.vui.i_chroma_loc = chromaInTheMiddle;
}

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
  if (settings.level > 0) parameters.i_level_idc = settings.level;
  parameters.i_keyint_max = X264_KEYINT_MAX_INFINITE;
  parameters.i_scenecut_threshold = 0;
  parameters.b_annexb = 0;
  parameters.b_repeat_headers = 0;
  parameters.analyse.b_mb_info = 1;
  // A tenth less for text in key frames, for a few milliseconds every four seconds.
  parameters.analyse.intra = X264_ANALYSE_I4x4;
  // Rounded nearer to the truth than a film is: for text a decibel more at the same size. What has
  // only moved would be mended for ever by it, so that this is for what is encoded by itself.
  parameters.analyse.i_luma_deadzone[1] = 5;
  if (settings.sliceEachRow) parameters.i_slice_max_mbs = macroblocksAcross(settings.width);
  if (settings.farthestVector > 0) parameters.analyse.i_mv_range = settings.farthestVector;
  describeColours(parameters);
  // Every picture comes with its quantiser: the encoder's own rate control knows nothing of the
  // pictures that are put in between, nor of what a still screen has saved. With a constant
  // quantiser it looks ahead at nothing, which saves a fifth of its time and memory, but clips what
  // comes with a picture to what it would use for the kinds of pictures: 20 less and 20 more.
  constexpr float widestFactor = 10;
  constexpr int clippedAt = 20;
  parameters.rc.i_rc_method = X264_RC_CQP;
  parameters.rc.i_qp_constant = settings.quantisers.finest + clippedAt;
  parameters.rc.f_ip_factor = widestFactor;
  parameters.rc.f_pb_factor = widestFactor;
  x264_param_apply_profile(&parameters, "baseline");
  return parameters;
}

/// Beyond the standard's quantisers, the encoder's own numbers go on with some that are no coarser,
/// until it begins to leave out detail.
int ownNumber(int quantiser) {
  constexpr int noCoarser = 12;
  return quantiser > QuantiserRange::worstOfStandard ? quantiser + noCoarser : quantiser;
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

double X264Encoder::quality(const Nv12Image& image) const {
  constexpr double most = 100;
  if (reference_.luma == nullptr) return most;
  const std::uint64_t sum = libyuv::ComputeSumSquareErrorPlane(
      reference_.luma, static_cast<int>(reference_.lumaStride), image.luma(),
      static_cast<int>(image.stride()), settings_.width, settings_.height);
  const double mean = static_cast<double>(sum) / settings_.width / settings_.height;
  return mean > 0 ? std::min(10 * std::log10(255.0 * 255.0 / mean), most) : most;
}

/// The encoder makes all of a picture as good as its quantiser, unchanged or not. What is to stay
/// as it is must look to it as if it were perfect already.
const Nv12Image& X264Encoder::withReference(const Nv12Image& image,
                                            const std::vector<std::uint8_t>& kept) {
  if (!mixed_) mixed_.emplace(image.size());
  const int width = settings_.width;
  const auto row = [&](int y, int block, std::uint8_t* to, const std::uint8_t* from,
                       const std::uint8_t* reference) {
    const auto* marks =
        kept.data() + static_cast<std::ptrdiff_t>(y / block) * macroblocksAcross(width);
    for (int x = 0; x < width; x += macroblockEdge, ++marks) {
      const int count = std::min(macroblockEdge, width - x);
      std::copy_n((*marks != 0 ? reference : from) + x, count, to + x);
    }
  };
  const std::ptrdiff_t stride = image.stride();
  for (int y = 0; y < settings_.height; ++y) {
    row(y, macroblockEdge, mixed_->luma() + y * stride, image.luma() + y * stride,
        reference_.luma + y * reference_.lumaStride);
  }
  for (int y = 0; y < settings_.height / 2; ++y) {
    row(y, macroblockEdge / 2, mixed_->chroma() + y * stride, image.chroma() + y * stride,
        reference_.chroma + y * reference_.chromaStride);
  }
  return *mixed_;
}

/// The quick search goes on from the motion of the picture before and of the macroblocks beside.
/// The other one finds a page that was scrolled by itself.
void X264Encoder::search(bool far) {
  if (searchesFar_ == far) return;
  searchesFar_ = far;
  constexpr int nearRange = 16;  // pixels
  constexpr int farRange = 32;
  x264_param_t parameters;
  x264_encoder_parameters(encoder_.get(), &parameters);
  parameters.analyse.i_me_method = far ? X264_ME_UMH : X264_ME_DIA;
  parameters.analyse.i_me_range = far ? farRange : nearRange;
  x264_encoder_reconfig(encoder_.get(), &parameters);
}

std::optional<X264Encoder::Bytes> X264Encoder::encode(const Nv12Image& image,
                                                      const Request& request) {
  if (image.size() != PixelSize{settings_.width, settings_.height}) return std::nullopt;

  const bool mixes = request.keepsCoarse && request.unchanged != nullptr &&
                     reference_.luma != nullptr && !request.keyFrame;
  const Nv12Image& source = mixes ? withReference(image, *request.unchanged) : image;
  return encode(source.planes(), request);
}

std::optional<X264Encoder::Bytes> X264Encoder::encode(const PlanesView& pixels,
                                                      const Request& request) {
  x264_picture_t picture;
  x264_picture_init(&picture);
  picture.i_type = request.keyFrame ? X264_TYPE_IDR : X264_TYPE_P;
  picture.i_qpplus1 = ownNumber(request.quantiser) + 1;
  picture.i_pts = frames_++;
  picture.img.i_csp = X264_CSP_NV12;
  picture.img.i_plane = 2;
  picture.img.i_stride[0] = static_cast<int>(pixels.lumaStride);
  picture.img.i_stride[1] = static_cast<int>(pixels.chromaStride);
  // The encoder only reads them.
  picture.img.plane[0] = const_cast<std::uint8_t*>(pixels.luma);
  picture.img.plane[1] = const_cast<std::uint8_t*>(pixels.chroma);
  if (request.unchanged != nullptr) picture.prop.mb_info = request.unchanged->data();

  search(request.searchesFar);
  x264_nal_t* units = nullptr;
  int count = 0;
  x264_picture_t encoded;
  const int size = x264_encoder_encode(encoder_.get(), &units, &count, &picture, &encoded);
  if (size <= 0 || count < 1) return std::nullopt;
  reference_ = {encoded.img.plane[0], encoded.img.plane[1], encoded.img.i_stride[0],
                encoded.img.i_stride[1]};
  // The units of one picture lie one behind the other.
  const auto* first = reinterpret_cast<const std::byte*>(units->p_payload);
  return Bytes(first, first + size);
}

}  // namespace vesk::picture
