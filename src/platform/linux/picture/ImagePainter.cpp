#include "platform/linux/picture/ImagePainter.h"

#include <libyuv.h>

#include <algorithm>

namespace vesk::picture {
namespace {

/// One being encoded, one waiting, one delivered, one being painted.
constexpr std::size_t keptImages = 4;

/// A target pixel takes in source pixels this far beyond its own, by filtering.
constexpr int filterReach = 2;

std::ptrdiff_t offset(int y, int stride, int x) {
  return static_cast<std::ptrdiff_t>(y) * stride + x;
}

}  // namespace

ImagePainter::ImagePainter(PixelSize source, PixelSize target)
    : source_(source),
      target_(target),
      across_(macroblocksAcross(target.width)),
      down_(macroblocksAcross(target.height)),
      changedAt_(static_cast<std::size_t>(across_) * static_cast<std::size_t>(down_)) {}

std::shared_ptr<const Nv12Image> ImagePainter::paint(const std::uint8_t* pixels, int stride,
                                                     const std::vector<PixelRect>& changed) {
  ++sequence_;
  for (const auto& rect : changed) note(rect);
  auto image = freeImage();
  for (int row = 0; row < down_; ++row) convertRow(pixels, stride, *image, row);
  image->changedAt = changedAt_;
  image->sequence = sequence_;
  return image;
}

void ImagePainter::note(const PixelRect& changed) {
  const bool scales = source_ != target_;
  const auto place = [&](int at, std::int64_t from, std::int64_t to) {
    return scales ? static_cast<int>(at * to / from) : at;
  };
  const int reach = scales ? filterReach : 0;
  const int left = place(std::max(changed.x - reach, 0), source_.width, target_.width);
  const int top = place(std::max(changed.y - reach, 0), source_.height, target_.height);
  const int right = place(changed.x + changed.width - 1 + reach, source_.width, target_.width);
  const int bottom = place(changed.y + changed.height - 1 + reach, source_.height, target_.height);
  for (int row = top / macroblockEdge; row <= std::min(bottom / macroblockEdge, down_ - 1); ++row) {
    for (int column = left / macroblockEdge;
         column <= std::min(right / macroblockEdge, across_ - 1); ++column) {
      changedAt_[indexOf(row, column)] = sequence_;
    }
  }
}

std::shared_ptr<Nv12Image> ImagePainter::freeImage() {
  // The newest free one has the least to make up for.
  std::shared_ptr<Nv12Image> best;
  for (const auto& image : images_) {
    if (image.use_count() > (image == best ? 2 : 1)) continue;
    if (best == nullptr || image->sequence > best->sequence) best = image;
  }
  if (best != nullptr) return best;
  best = std::make_shared<Nv12Image>(target_);
  if (images_.size() < keptImages) images_.push_back(best);
  return best;
}

/// Converts what the image lacks in one row of macroblocks, neighbours together.
void ImagePainter::convertRow(const std::uint8_t* pixels, int stride, Nv12Image& image, int row) {
  const auto lacks = [&](int column) { return changedAt_[indexOf(row, column)] > image.sequence; };
  const int top = row * macroblockEdge;
  const int height = std::min(macroblockEdge, static_cast<int>(target_.height) - top);
  for (int column = 0; column < across_; ++column) {
    if (!lacks(column)) continue;
    int end = column + 1;
    while (end < across_ && lacks(end)) ++end;
    const int left = column * macroblockEdge;
    const int right = std::min(end * macroblockEdge, static_cast<int>(target_.width));
    convert(pixels, stride, image, {left, top, right - left, height});
    column = end;
  }
}

void ImagePainter::convert(const std::uint8_t* pixels, int stride, Nv12Image& image,
                           const PixelRect& area) {
  const std::uint8_t* from = pixels + offset(area.y, stride, area.x * 4);
  int fromStride = stride;
  // A size that is only rounded down to even numbers loses its last row or column, nothing else.
  const bool scales = source_.width - target_.width > 1 || source_.height - target_.height > 1;
  if (scales) {
    fromStride = static_cast<int>(target_.width) * 4;
    scaled_.resize(static_cast<std::size_t>(fromStride) * static_cast<std::size_t>(macroblockEdge));
    // The scaler addresses the whole target, of which only this row of macroblocks exists.
    std::uint8_t* whole = scaled_.data() - offset(area.y, fromStride, 0);
    libyuv::ARGBScaleClip(pixels, stride, static_cast<int>(source_.width),
                          static_cast<int>(source_.height), whole, fromStride,
                          static_cast<int>(target_.width), static_cast<int>(target_.height), area.x,
                          area.y, area.width, area.height, libyuv::kFilterBox);
    from = scaled_.data() + offset(0, fromStride, area.x * 4);
  }
  libyuv::ARGBToNV12(from, fromStride, image.luma() + offset(area.y, image.stride(), area.x),
                     image.stride(), image.chroma() + offset(area.y / 2, image.stride(), area.x),
                     image.stride(), area.width, area.height);
}

}  // namespace vesk::picture
