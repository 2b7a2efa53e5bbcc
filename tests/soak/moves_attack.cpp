// Scrolls and drags of all sorts that come to rest: what they ask of the link, and how good the
// page is some seconds later beside the same page that has never moved.
//
//     moves_attack [--scene N]... [--rate KBIT]... [--pace N]... [--size W H] [--trace]

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "capture/annexB.h"
#include "platform/linux/picture/ScreenEncoder.h"
#include "rates/Canvas.h"
#include "rates/Glyphs.h"
#include "rates/Link.h"
#include "rates/Texture.h"
#include "support/LevelCheck.h"

namespace {

using namespace vesk;
using namespace vesk::rates;
using picture::PixelRect;

constexpr Colour white{235, 128, 128};
constexpr Colour black{30, 128, 128};

/// Text in paragraphs, some of it coloured, and photographs now and then.
Canvas page(int width, int height, unsigned seed, bool photographs) {
  Canvas page({width, height});
  std::mt19937 random(seed);
  const Glyphs glyphs(9, 18);
  page.paint({0, 0, width, height}, [](int, int) { return white; });
  const Texture texture(seed);
  for (int y = 0; y + 18 <= height; y += 18) {
    if (photographs && y / 18 % 40 > 24) {
      page.paint({width / 4, y, width / 2, 18}, [&](int x, int at) {
        return Colour{static_cast<std::uint8_t>(texture.at(x, at)),
                      static_cast<std::uint8_t>(64 + texture.at(x / 4, at / 4) / 2), 120};
      });
      continue;
    }
    if (random() % 7 == 0) continue;
    const int most = width - 60;
    const Colour ink = random() % 5 == 0 ? Colour{80, 180, 90} : black;
    glyphs.line(page, {30, y, most / 2 + static_cast<int>(random() % unsigned(most / 2)), 18},
                random, ink, white);
  }
  return page;
}

std::function<Colour(int, int)> from(const Canvas& source, int dx, int dy) {
  return [&source, dx, dy](int x, int y) {
    const auto& image = *source.image();
    const int atX = ((x + dx) % source.width() + source.width()) % source.width();
    const int atY = ((y + dy) % source.height() + source.height()) % source.height();
    const int chroma = atY / 2 * image.stride() + atX / 2 * 2;
    return Colour{image.luma()[atY * image.stride() + atX], image.chroma()[chroma],
                  image.chroma()[chroma + 1]};
  };
}

struct Scene {
  std::string name;
  /// Paints image `number` at `seconds`; what the last one shows stays.
  std::function<void(Canvas&, int number, double seconds)> paint;
};

std::vector<Scene> scenes(int w, int h) {
  static std::vector<std::unique_ptr<Canvas>> pages;
  const auto make = [&](int width, int height, unsigned seed, bool photographs) -> const Canvas& {
    pages.push_back(std::make_unique<Canvas>(page(width, height, seed, photographs)));
    return *pages.back();
  };
  const Canvas& text = make(w, 4 * h, 1, false);
  const Canvas& mixed = make(w, 4 * h, 2, true);
  const Canvas& other = make(w, 4 * h, 3, false);
  std::vector<Scene> all;
  for (const int speed : {1, 3, 18, 41, 130, 300}) {
    for (const int sign : {1, -1}) {
      if (sign < 0 && speed != 41 && speed != 3) continue;
      all.push_back({"text by " + std::to_string(sign * speed),
                     [&text, w, h, speed, sign](Canvas& c, int n, double) {
                       c.paint({0, 0, w, h}, from(text, 0, sign * speed * n));
                     }});
    }
  }
  all.push_back({"mixed by 24", [&mixed, w, h](Canvas& c, int n, double) {
                   c.paint({0, 0, w, h}, from(mixed, 0, 24 * n));
                 }});
  all.push_back({"diagonal 7,12", [&mixed, w, h](Canvas& c, int n, double) {
                   c.paint({0, 0, w, h}, from(mixed, 7 * n, 12 * n));
                 }});
  all.push_back({"bursts", [&text, w, h, at = 0](Canvas& c, int n, double) mutable {
                   if (n % 15 < 5) {
                     at += 54;
                   } else if (n > 0) {
                     return;
                   }
                   c.paint({0, 0, w, h}, from(text, 0, at));
                 }});
  all.push_back({"flings", [&mixed, w, h](Canvas& c, int n, double seconds) {
                   // A fling each two seconds, which slows down.
                   const double whole = std::floor(seconds / 2), part = seconds / 2 - whole;
                   const double at = 2500 * (whole + 1 - std::pow(1 - part, 4));
                   if (n > 0 && part > 0.9) return;
                   c.paint({0, 0, w, h}, from(mixed, 0, static_cast<int>(at)));
                 }});
  all.push_back(
      {"to and fro", [&mixed, w, h](Canvas& c, int, double seconds) {
         c.paint({0, 0, w, h}, from(mixed, 0, static_cast<int>(900 + 900 * std::sin(seconds * 3))));
       }});
  all.push_back({"two panes", [&text, &other, w, h](Canvas& c, int n, double) {
                   c.paint({0, 0, w / 2, h}, from(text, 0, 12 * n));
                   c.paint({w / 2, 0, w / 2, h}, from(other, 0, -20 * n));
                 }});
  all.push_back(
      {"panes by turns", [&text, &other, w, h, a = 0, b = 0](Canvas& c, int n, double s) mutable {
         const bool left = static_cast<int>(s) % 2 == 0;
         (left ? a : b) += 30;
         if (left || n == 0) c.paint({0, 0, w / 2, h}, from(text, 0, a));
         if (!left || n == 0) c.paint({w / 2, 0, w / 2, h}, from(other, 0, b));
       }});
  all.push_back({"scroll and typing", [&text, &other, w, h](Canvas& c, int n, double) {
                   if (n == 0) c.paint({0, 0, w, h}, from(other, 0, 0));
                   c.paint({0, 0, w * 2 / 3, h}, from(text, 0, 9 * n));
                   if (n % 3 == 0) {
                     Glyphs(9, 18).letter(c, w * 2 / 3 + 10 + n / 3 % 30 * 9, h / 2 + n / 90 * 18,
                                          1 + unsigned(n) % 60, black, white);
                   }
                 }});
  all.push_back({"veiled", [&mixed, w, h](Canvas& c, int n, double) {
                   // A head and a foot through which the page shines.
                   const auto at = from(mixed, 0, 16 * n);
                   c.paint({0, 0, w, h}, [&](int x, int y) {
                     Colour colour = at(x, y);
                     if (y < h / 8 || y > h * 7 / 8) {
                       colour.luma = static_cast<std::uint8_t>(colour.luma / 3 + 60);
                     }
                     return colour;
                   });
                 }});
  all.push_back({"dragged about", [&text, &other, w, h, random = std::mt19937(5), px = 100, py = 60,
                                   vx = 9, vy = 5](Canvas& c, int n, double) mutable {
                   c.paint(
                       {n == 0 ? 0 : px, n == 0 ? 0 : py, n == 0 ? w : w / 2, n == 0 ? h : h / 2},
                       from(other, 0, 0));
                   if (random() % 6 == 0) {
                     vx = static_cast<int>(random() % 61) - 30;
                     vy = static_cast<int>(random() % 41) - 20;
                   }
                   px = std::clamp(px + vx, 0, w / 2), py = std::clamp(py + vy, 0, h / 2);
                   c.paint({px, py, w / 2, h / 2}, from(text, -px, -py));
                 }});
  all.push_back({"scroll beside video", [&text, w, h](Canvas& c, int n, double) {
                   static const Texture back(9), front(10);
                   c.paint({0, 0, w * 3 / 4, h}, from(text, 0, 18 * n));
                   c.paint({w * 3 / 4, 0, w / 4, h / 3}, [&](int x, int y) {
                     return Colour{
                         static_cast<std::uint8_t>(
                             (back.at(x + n * 5, y) * 3 + front.at(x - n * 3, y + n)) / 4),
                         128, 128};
                   });
                 }});
  all.push_back({"pages and scroll", [&text, &mixed, &other, w, h](Canvas& c, int n, double s) {
                   // Each second another page, which is scrolled then.
                   const int which = static_cast<int>(s) % 3;
                   const Canvas& shown = which == 0 ? text : which == 1 ? mixed : other;
                   c.paint({0, 0, w, h}, from(shown, 0, 14 * n));
                 }});
  return all;
}

double quality(const picture::PlanesView& shown, const picture::Nv12Image& image) {
  double sum = 0;
  const int w = static_cast<int>(image.size().width), h = static_cast<int>(image.size().height);
  for (int y = 0; y < h; ++y) {
    int row = 0;
    for (int x = 0; x < w; ++x) {
      const int d = shown.lumaAt(0, y)[x] - image.luma()[y * image.stride() + x];
      row += d * d;
    }
    sum += row;
  }
  const double mean = sum / w / h;
  return mean > 0 ? 10 * std::log10(255.0 * 255.0 / mean) : 100;
}

/// Of the worst block of 32 by 32, in luma or in chroma.
double worstBlock(const picture::PlanesView& shown, const picture::Nv12Image& image, bool chroma) {
  constexpr int edge = 32;
  double least = 100;
  const int w = static_cast<int>(image.size().width);
  const int h = static_cast<int>(image.size().height) / (chroma ? 2 : 1);
  for (int top = 0; top + edge <= h; top += edge) {
    for (int left = 0; left + edge <= w; left += edge) {
      double sum = 0;
      for (int y = top; y < top + edge; ++y) {
        const auto* a = chroma ? shown.chromaAt(0, 2 * y) : shown.lumaAt(0, y);
        const auto* b = (chroma ? image.chroma() : image.luma()) + y * image.stride();
        for (int x = left; x < left + edge; ++x) sum += double(a[x] - b[x]) * (a[x] - b[x]);
      }
      const double mean = sum / (edge * edge);
      if (mean > 0) least = std::min(least, 10 * std::log10(255.0 * 255.0 / mean));
    }
  }
  return least;
}

struct Result {
  double threeSeconds = 0, worst = 0, least = 100, block = 100, chromaBlock = 100, soonest = -1;
  double atEnd = 0;
  std::vector<std::string> faults;
  std::vector<double> afterwards;
  std::shared_ptr<const picture::Nv12Image> last;
};

/// `still`: the page from the beginning, and nothing else.
Result run(const std::function<void(Canvas&, int)>& paint, int moving, int resting, PixelSize size,
           int kilobits, int pace, bool trace) {
  picture::ScreenEncoderSettings settings;
  settings.encoder.width = static_cast<std::int32_t>(size.width);
  settings.encoder.height = static_cast<std::int32_t>(size.height);
  settings.encoder.framesPerSecond = pace;
  settings.bitRate = kilobits * 1000;
  settings.maxKeyFrameInterval = 4 * pace;
  picture::ScreenEncoder encoder(settings);
  Canvas canvas(size);
  testing::LevelCheck levels;
  Link link(kilobits * 1000.0, pace);
  Result result;
  for (int n = 0; n < moving + resting; ++n) {
    if (n > 0) canvas.next();
    if (n < moving) paint(canvas, n);
    const HostTime time{std::chrono::hours(1) +
                        std::chrono::nanoseconds(n * 1'000'000'000LL / pace)};
    const auto sample = encoder.encode(canvas.image(), time, false);
    const auto unit = annexB(*sample).value_or(Bytes{});
    link.send(unit.size());
    levels.add(unit);
    double now = 0;
    if (trace || n >= moving) now = quality(encoder.reconstruction(), *canvas.image());
    if (n >= moving) result.afterwards.push_back(now);
    if (n == moving) result.atEnd = now;
    if (n >= moving + resting - 3 * pace) {
      result.least = std::min(result.least, now);
    }
    if (trace) {
      std::printf("%4d %s %7zu bytes %6.3f s %6.2f dB\n", n, sample->notSync == false ? "K" : " ",
                  unit.size(), link.delays().back(), now);
    }
  }
  result.block = worstBlock(encoder.reconstruction(), *canvas.image(), false);
  result.chromaBlock = worstBlock(encoder.reconstruction(), *canvas.image(), true);
  result.threeSeconds = link.mostOverThreeSeconds();
  result.worst = link.worstDelay();
  result.faults = levels.faults();
  result.last = canvas.image();
  return result;
}

}  // namespace

int main(int argc, char* argv[]) {
  std::vector<int> wanted, rates, paces;
  PixelSize size{1280, 720};
  bool trace = false, alone = false;
  for (int i = 1; i < argc; ++i) {
    const std::string name = argv[i];
    if (name == "--scene") wanted.push_back(std::atoi(argv[++i]));
    if (name == "--rate") rates.push_back(std::atoi(argv[++i]));
    if (name == "--pace") paces.push_back(std::atoi(argv[++i]));
    if (name == "--size") size.width = std::atoi(argv[++i]), size.height = std::atoi(argv[++i]);
    if (name == "--trace") trace = true;
    if (name == "--alone") alone = true;
  }
  if (rates.empty()) rates = {1000, 4000};
  if (paces.empty()) paces = {30};
  const int w = static_cast<int>(size.width), h = static_cast<int>(size.height);
  const std::size_t count = scenes(w, h).size();
  for (std::size_t s = 0; s < count; ++s) {
    if (!wanted.empty() && std::ranges::find(wanted, int(s)) == wanted.end()) continue;
    for (const int rate : rates) {
      for (const int pace : paces) {
        auto scene = scenes(w, h)[s];
        const int moving = 7 * pace + 3, resting = 9 * pace;
        const auto moved = run([&](Canvas& c, int n) { scene.paint(c, n, double(n) / pace); },
                               moving, resting, size, rate, pace, trace);
        Result still;
        if (!alone) {
          const auto& last = *moved.last;
          still = run(
              [&](Canvas& c, int n) {
                if (n > 0) return;
                c.paint({0, 0, w, h}, [&](int x, int y) {
                  const int chroma = y / 2 * last.stride() + x / 2 * 2;
                  return Colour{last.luma()[y * last.stride() + x], last.chroma()[chroma],
                                last.chroma()[chroma + 1]};
                });
              },
              1, 12 * pace, size, rate, pace, false);
        }
        // When it is as good as ever, but for half a decibel.
        const double goal = alone ? 40 : std::min(still.least, 48.0) - 0.5;
        double reached = -1;
        for (std::size_t i = 0; i < moved.afterwards.size() && reached < 0; ++i) {
          if (moved.afterwards[i] >= goal) reached = double(i) / pace;
        }
        const double limit = rate < 1000 ? 2 : 1;
        const bool bad = moved.threeSeconds > 1.1 || moved.worst > limit || !moved.faults.empty() ||
                         (!alone && (reached < 0 || reached > 5 || moved.least < goal ||
                                     moved.block < still.block - 6 ||
                                     moved.chromaBlock < still.chromaBlock - 6));
        std::printf(
            "%s %2zu %-20s %5d kbit/s %2d/s: 3s %.3f worst %.3f end %.1f least %.1f still %.1f "
            "after %.1f s, blocks %.1f/%.1f chroma %.1f/%.1f\n",
            bad ? "BAD" : "   ", s, scene.name.c_str(), rate, pace, moved.threeSeconds, moved.worst,
            moved.atEnd, moved.least, still.least, reached, moved.block, still.block,
            moved.chromaBlock, still.chromaBlock);
        for (const auto& fault : moved.faults) std::printf("    %s\n", fault.c_str());
        std::fflush(stdout);
      }
    }
  }
}
