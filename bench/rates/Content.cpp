#include "rates/Content.h"

#include <memory>

#include "rates/Glyphs.h"
#include "rates/Texture.h"

namespace vesk::rates {
namespace {

using Painter = std::function<void(int)>;

constexpr Colour white{235, 128, 128};
constexpr Colour black{30, 128, 128};
constexpr Colour desktop{90, 150, 110};
constexpr Colour terminal{28, 132, 126};

picture::PixelRect whole(const Canvas& canvas) { return {0, 0, canvas.width(), canvas.height()}; }

/// Three full terminals of 80 by 24 letters each.
Painter stillText(Canvas& canvas) {
  return [&canvas](int number) {
    if (number > 0) return;
    std::mt19937 random(1);
    const Glyphs glyphs(6, 13);
    canvas.paint(whole(canvas), [](int, int) { return desktop; });
    const int width = 80 * 6, height = 24 * 13;
    const int right = canvas.width() - width - 20, bottom = canvas.height() - height - 14;
    glyphs.page(canvas, {20, 10, width, height}, random, {200, 128, 128}, terminal);
    glyphs.page(canvas, {right, 10, width, height}, random, {180, 110, 120}, terminal);
    glyphs.page(canvas, {20, bottom, width, height}, random, black, white);
  };
}

/// A page of nothing but small text.
Painter denseText(Canvas& canvas) {
  return [&canvas](int number) {
    if (number > 0) return;
    std::mt19937 random(2);
    Glyphs(6, 12).page(canvas, whole(canvas), random, black, white);
  };
}

Painter photo(Canvas& canvas) {
  return [&canvas](int number) {
    if (number > 0) return;
    const Texture luma(3), blue(4), red(5);
    canvas.paint(whole(canvas), [&](int x, int y) {
      return Colour{static_cast<std::uint8_t>(luma.at(x, y)),
                    static_cast<std::uint8_t>(64 + blue.at(x / 4, y / 4) / 2),
                    static_cast<std::uint8_t>(64 + red.at(x / 4, y / 4) / 2)};
    });
  };
}

/// Paragraphs, which leave some of each line and some lines blank.
void prose(Canvas& canvas, const Glyphs& glyphs, int y, std::mt19937& random) {
  const int most = canvas.width() - 120;
  const bool blank = random() % 7 == 0;
  const int width = blank ? 0 : most / 2 + static_cast<int>(random() % unsigned(most / 2));
  canvas.paint({0, y, canvas.width(), glyphs.cellHeight()}, [](int, int) { return white; });
  glyphs.line(canvas, {60, y, width, glyphs.cellHeight()}, random, black, white);
}

void pageOfProse(Canvas& canvas, const Glyphs& glyphs, std::mt19937& random) {
  canvas.paint(whole(canvas), [](int, int) { return white; });
  for (int y = 0; y + glyphs.cellHeight() <= canvas.height(); y += glyphs.cellHeight()) {
    prose(canvas, glyphs, y, random);
  }
}

/// Ten letters a second.
Painter typing(Canvas& canvas) {
  auto random = std::make_shared<std::mt19937>(6);
  const auto glyphs = std::make_shared<Glyphs>(9, 18);
  return [&canvas, random, glyphs](int number) {
    if (number == 0) return pageOfProse(canvas, *glyphs, *random);
    if (number % 3 != 0) return;
    const int columns = (canvas.width() - 120) / 9;
    const int letter = number / 3;
    glyphs->letter(canvas, 60 + letter % columns * 9,
                   canvas.height() / 36 * 18 + letter / columns * 18,
                   1 + static_cast<unsigned>((*random)()) % 63, black, white);
  };
}

/// A page that goes up a line with each picture.
Painter scrolling(Canvas& canvas) {
  auto random = std::make_shared<std::mt19937>(7);
  const auto glyphs = std::make_shared<Glyphs>(9, 18);
  return [&canvas, random, glyphs](int number) {
    if (number == 0) return pageOfProse(canvas, *glyphs, *random);
    canvas.scroll(18);
    prose(canvas, *glyphs, canvas.height() - 18, *random);
  };
}

/// Two windows full of text that somebody moves over others.
Painter movingWindows(Canvas& canvas) {
  struct Scene {
    explicit Scene(PixelSize size) : ground(size), window({640, 400}) {}
    Canvas ground, window;
  };
  const auto scene = std::make_shared<Scene>(canvas.image()->size());
  stillText(scene->ground)(0);
  std::mt19937 random(8);
  Glyphs(9, 18).page(scene->window, {0, 24, 640, 376}, random, black, white);
  return [&canvas, scene](int number) {
    const auto from = [](const Canvas& source, int left, int top) {
      return [&source, left, top](int x, int y) {
        const auto& image = *source.image();
        const int chroma = (y - top) / 2 * image.stride() + (x - left) / 2 * 2;
        return Colour{image.luma()[(y - top) * image.stride() + x - left], image.chroma()[chroma],
                      image.chroma()[chroma + 1]};
      };
    };
    const auto place = [&](int window, int when) {
      const int across = canvas.width() - 640, down = canvas.height() - 400;
      const int x = (when * (window == 0 ? 10 : 6) + window * 300) % (2 * across);
      const int y = (when * (window == 0 ? 4 : 8) + window * 100) % (2 * down);
      return picture::PixelRect{std::min(x, 2 * across - x), std::min(y, 2 * down - y), 640, 400};
    };
    if (number == 0) canvas.paint(whole(canvas), from(scene->ground, 0, 0));
    for (const int window : {0, 1}) {
      if (number > 0) canvas.paint(place(window, number - 1), from(scene->ground, 0, 0));
    }
    for (const int window : {0, 1}) {
      const auto rect = place(window, number);
      canvas.paint(rect, from(scene->window, rect.x, rect.y));
    }
  };
}

/// Two layers that move through each other, so that no motion describes the picture.
Painter video(Canvas& canvas) {
  struct Layers {
    Texture back{9}, front{10};
  };
  const auto layers = std::make_shared<Layers>();
  return [&canvas, layers](int number) {
    canvas.paint(whole(canvas), [&](int x, int y) {
      const int back = layers->back.at(x + number * 5, y + number * 2);
      const int front = layers->front.at(x - number * 3, y + number);
      return Colour{static_cast<std::uint8_t>((back * 3 + front) / 4),
                    static_cast<std::uint8_t>(64 + front / 2),
                    static_cast<std::uint8_t>(64 + back / 2)};
    });
  };
}

}  // namespace

const std::vector<Content>& contents() {
  static const std::vector<Content> all{
      {"still text", false, stillText}, {"dense text", false, denseText},
      {"photo", false, photo},          {"typing", false, typing},
      {"scrolling", true, scrolling},   {"moving windows", true, movingWindows},
      {"video", true, video},
  };
  return all;
}

}  // namespace vesk::rates
