#include "support/MixedScreen.h"

#include <algorithm>
#include <cmath>

#include "support/imageStream.h"

namespace vesk::testing {
using picture::PixelRect;

MixedScreen::MixedScreen(PixelSize size, unsigned seed)
    : random_(seed), image_(std::make_shared<picture::Nv12Image>(size)) {
  image_->sequence = 1;
  write({0, 0, static_cast<int>(size.width), static_cast<int>(size.height)}, true);
}

void MixedScreen::goOn() {
  image_ = nextImage(*image_);
  const int width = static_cast<int>(image_->size().width);
  const int height = static_cast<int>(image_->size().height);
  switch (below(22)) {
    case 0:
    case 1:
    case 2:
      for (int letters = below(3); letters >= 0; --letters) write(somewhere(10, 14), false);
      break;
    case 3:
    case 4:
    case 5:
      return movePointer();
    case 6:
      return fill(somewhere(width / 2, height / 4));
    case 7:
      return write(somewhere(width, 40), true);
    case 8:
      return scatter(somewhere(width / 4, height / 4));
    case 9:
    case 10:
      return scroll();
    case 11:
      return shade(somewhere(width, height / 2));
    case 12:
      return write(below(8) == 0 ? PixelRect{0, 0, width, height} : somewhere(width, height), true);
    default:
      return;
  }
}

/// One in three lies at an edge or in a corner.
PixelRect MixedScreen::somewhere(int mostWidth, int mostHeight) {
  const int allWidth = static_cast<int>(image_->size().width);
  const int allHeight = static_cast<int>(image_->size().height);
  PixelRect area;
  area.width = std::min(2 + below(std::max(mostWidth, 1)) / 2 * 2, allWidth);
  area.height = std::min(2 + below(std::max(mostHeight, 1)) / 2 * 2, allHeight);
  const auto place = [&](int room) {
    const int end = room / 2 * 2;
    return below(3) == 0 ? (below(2) == 0 ? 0 : end) : below(room / 2 + 1) * 2;
  };
  area.x = place(allWidth - area.width);
  area.y = place(allHeight - area.height);
  return area;
}

/// Strokes that fill cells as letters do.
void MixedScreen::write(const PixelRect& area, bool colourful) {
  const auto salt = static_cast<unsigned>(random_());
  const auto tint = static_cast<std::uint8_t>(colourful ? 96 + below(64) : 128);
  const picture::Planes planes = image_->planes();
  for (int y = area.y; y < area.y + area.height; ++y) {
    for (int x = area.x; x < area.x + area.width; ++x) {
      const unsigned cell = (static_cast<unsigned>(x / 8) * 2654435761U) ^
                            (static_cast<unsigned>(y / 14) * 40503U) ^ salt;
      const bool upright = x % 8 / 2 == static_cast<int>((cell >> 11) % 4);
      const bool level = y % 14 / 2 == static_cast<int>((cell >> 14) % 7);
      *planes.lumaAt(x, y) = upright || level ? 40 : 225;
      if (y % 2 == 0) *planes.chromaAt(x / 2 * 2, y) = (cell >> 20) % 4 == 0 ? tint : 128;
    }
  }
  markPainted(*image_, area);
}

void MixedScreen::fill(const PixelRect& area) {
  const auto shade = static_cast<std::uint8_t>(16 + below(220));
  const auto tint = static_cast<std::uint8_t>(64 + below(128));
  const picture::Planes planes = image_->planes();
  for (int y = area.y; y < area.y + area.height; ++y) {
    std::fill_n(planes.lumaAt(area.x, y), area.width, shade);
    if (y % 2 == 0) std::fill_n(planes.chromaAt(area.x, y), area.width, tint);
  }
  markPainted(*image_, area);
}

void MixedScreen::scatter(const PixelRect& area) {
  const picture::Planes planes = image_->planes();
  for (int y = area.y; y < area.y + area.height; ++y) {
    for (int x = area.x; x < area.x + area.width; ++x) {
      *planes.lumaAt(x, y) = static_cast<std::uint8_t>(16 + random_() % 220);
      if (y % 2 == 0) planes.chromaAt(x / 2 * 2, y)[x % 2] = static_cast<std::uint8_t>(random_());
    }
  }
  markPainted(*image_, area);
}

/// Where it was, something is written again.
void MixedScreen::movePointer() {
  if (pointer_.width > 0) write(pointer_, false);
  pointer_ = somewhere(24, 24);
  const picture::Planes planes = image_->planes();
  for (int y = 0; y < pointer_.height; ++y) {
    for (int x = 0; x < pointer_.width; ++x) {
      const double distance = std::hypot(x - pointer_.width / 2, y - pointer_.height / 2);
      const double part = std::clamp(1 - distance / 14, 0.0, 1.0);
      std::uint8_t& pixel = *planes.lumaAt(pointer_.x + x, pointer_.y + y);
      pixel = static_cast<std::uint8_t>(pixel * (1 - part) + 20 * part);
    }
  }
  markPainted(*image_, pointer_);
}

/// By a few pixels most of the time, up or down.
void MixedScreen::scroll() {
  const PixelRect area = somewhere(static_cast<int>(image_->size().width),
                                   static_cast<int>(image_->size().height) / 2);
  const int distance = std::min(1 + below(1 + below(60)), area.height - 1);
  const bool up = below(2) == 0;
  const auto before = nextImage(*image_);
  const picture::PlanesView from = before->planes().view();
  const picture::Planes to = image_->planes();
  for (int row = 0; row + distance < area.height; ++row) {
    const int source = area.y + (up ? row + distance : row);
    const int y = area.y + (up ? row : row + distance);
    std::copy_n(from.lumaAt(area.x, source), area.width, to.lumaAt(area.x, y));
    if (y % 2 != 0) continue;
    std::copy_n(from.chromaAt(area.x, source / 2 * 2), area.width, to.chromaAt(area.x, y));
  }
  markPainted(*image_, area);
}

/// Soft light, in which an encoder finds what has moved.
void MixedScreen::shade(const PixelRect& area) {
  const double wave = 6 + below(30);
  const double phase = below(100);
  const picture::Planes planes = image_->planes();
  for (int y = area.y; y < area.y + area.height; ++y) {
    for (int x = area.x; x < area.x + area.width; ++x) {
      const double light = std::sin((x + phase) / wave) + std::cos((y - phase) / wave);
      *planes.lumaAt(x, y) = static_cast<std::uint8_t>(126 + 50 * light);
      if (y % 2 == 0)
        planes.chromaAt(x / 2 * 2, y)[x % 2] = static_cast<std::uint8_t>(128 + 20 * light);
    }
  }
  markPainted(*image_, area);
}

}  // namespace vesk::testing
