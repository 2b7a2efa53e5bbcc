#include "platform/linux/picture/ImagePainter.h"

#include <libyuv.h>

#include <algorithm>
#include <array>

namespace vesk::picture {
namespace {

/// One being encoded and the one before it, one waiting, one delivered, one being painted.
constexpr std::size_t keptImages = 5;

std::ptrdiff_t offset(int y, int stride, int x) {
  return static_cast<std::ptrdiff_t>(y) * stride + x;
}

/// A size that is only rounded down to even numbers loses its last row or column, nothing else.
bool isCropped(std::int64_t source, std::int64_t target) {
  return source - target == 0 || source - target == 1;
}

/// Halves and quarters, for which the library has an average of its own.
bool isWholePart(PixelSize source, PixelSize target) {
  return std::ranges::any_of(std::array{2, 4}, [&](int part) {
    return source == PixelSize{target.width * part, target.height * part};
  });
}

}  // namespace

ImagePainter::ImagePainter(PixelSize source, PixelSize target, PixelLayout layout)
    : source_(source),
      target_(target),
      way_(wayOf(source, target)),
      across_(macroblocksAcross(target.width)),
      down_(macroblocksAcross(target.height)),
      changedAt_(static_cast<std::size_t>(across_) * static_cast<std::size_t>(down_)) {
  if (layout == PixelLayout::eightBits) return;
  narrowed_.resize(static_cast<std::size_t>(source.width * source.height * 4));
}

std::shared_ptr<const Nv12Image> ImagePainter::paint(const std::uint8_t* pixels, int stride,
                                                     const std::vector<PixelRect>& changed) {
  ++sequence_;
  for (const auto& rect : changed) {
    const auto inside = intersection(
        rect, {0, 0, static_cast<int>(source_.width), static_cast<int>(source_.height)});
    if (inside.isEmpty()) continue;
    note(inside);
    if (!narrowed_.empty()) narrow(pixels, stride, inside);
  }
  if (!narrowed_.empty()) {
    pixels = narrowed_.data();
    stride = static_cast<int>(source_.width) * 4;
  }
  auto image = freeImage();
  for (int row = 0; row < down_; ++row) convertRow(pixels, stride, *image, row);
  image->changedAt = changedAt_;
  image->sequence = sequence_;
  return image;
}

ImagePainter::Way ImagePainter::wayOf(PixelSize source, PixelSize target) {
  if (isCropped(source.width, target.width) && isCropped(source.height, target.height))
    return Way::crop;
  return isWholePart(source, target) ? Way::wholePart : Way::area;
}

/// Every macroblock that takes in a pixel of `changed`.
void ImagePainter::note(const PixelRect& changed) {
  const auto first = [&](std::int64_t begin, std::int64_t from, std::int64_t to) {
    return static_cast<int>(way_ == Way::crop ? begin : begin * to / from);
  };
  const auto last = [&](std::int64_t end, std::int64_t from, std::int64_t to) {
    return static_cast<int>(way_ == Way::crop ? end - 1 : (end * to + from - 1) / from - 1);
  };
  const int left = first(changed.x, source_.width, target_.width);
  const int top = first(changed.y, source_.height, target_.height);
  const int right = last(changed.right(), source_.width, target_.width);
  const int bottom = last(changed.bottom(), source_.height, target_.height);
  for (int row = top / macroblockEdge; row <= std::min(bottom / macroblockEdge, down_ - 1); ++row) {
    for (int column = left / macroblockEdge;
         column <= std::min(right / macroblockEdge, across_ - 1); ++column) {
      changedAt_[indexOf(row, column)] = sequence_;
    }
  }
}

void ImagePainter::narrow(const std::uint8_t* pixels, int stride, const PixelRect& changed) {
  const int ownStride = static_cast<int>(source_.width) * 4;
  libyuv::AR30ToARGB(pixels + offset(changed.y, stride, changed.x * 4), stride,
                     narrowed_.data() + offset(changed.y, ownStride, changed.x * 4), ownStride,
                     changed.width, changed.height);
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
  if (way_ != Way::crop) {
    fromStride = area.width * 4;
    scaled_.resize(static_cast<std::size_t>(fromStride) * static_cast<std::size_t>(area.height));
    scale(pixels, stride, area);
    from = scaled_.data();
  }
  libyuv::ARGBToNV12(from, fromStride, image.luma() + offset(area.y, image.stride(), area.x),
                     image.stride(), image.chroma() + offset(area.y / 2, image.stride(), area.x),
                     image.stride(), area.width, area.height);
}

void ImagePainter::scale(const std::uint8_t* pixels, int stride, const PixelRect& area) {
  const int toStride = area.width * 4;
  if (way_ == Way::wholePart) {
    const auto part = static_cast<int>(source_.width / target_.width);
    libyuv::ARGBScale(pixels + offset(area.y * part, stride, area.x * part * 4), stride,
                      area.width * part, area.height * part, scaled_.data(), toStride, area.width,
                      area.height, libyuv::kFilterBox);
    return;
  }
  if (!scaler_) scaler_.emplace(source_, target_);
  scaler_->scale(pixels, stride, area, scaled_.data(), toStride);
}

}  // namespace vesk::picture
