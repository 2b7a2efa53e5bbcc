#include "platform/linux/wayland/beneath/PictureBeneath.h"

#include <algorithm>
#include <utility>

#include "platform/linux/wayland/beneath/fillFromSurroundings.h"
#include "platform/linux/wayland/beneath/unblend.h"

namespace vesk::wayland::beneath {
namespace {

/// So many pixels tell whether a surface looks blended; all of them would cost as much as undoing.
constexpr std::int32_t mostSamples = 4096;

std::uint8_t alphaOf(std::uint32_t pixel) { return static_cast<std::uint8_t>(pixel >> 24U); }

std::size_t pixelsOf(const PixelRect& area) {
  return area.isEmpty()
             ? 0
             : static_cast<std::size_t>(area.width) * static_cast<std::size_t>(area.height);
}

/// Adds what is covered of a row by pixels of which alphas are known.
void addRuns(std::vector<CoveredRun>& runs, const std::uint32_t* row, std::int32_t x,
             std::int32_t y, std::int32_t width) {
  for (std::int32_t begin = 0; begin < width;) {
    const auto alpha = alphaOf(row[begin]);
    std::int32_t end = begin + 1;
    while (end < width && alphaOf(row[end]) == alpha) ++end;
    if (alpha > 0) runs.push_back({x + begin, y, end - begin, row + begin, alpha});
    begin = end;
  }
}

bool isWithinAny(const std::vector<PixelRect>& areas, std::int32_t x, std::int32_t y) {
  return std::ranges::any_of(areas, [&](const PixelRect& area) {
    return !intersection(area, {x, y, 1, 1}).isEmpty();
  });
}

}  // namespace

void PictureBeneath::uncover(const Pixels& pixels, const OwnSurfaces::Shown& shown,
                             std::vector<PixelRect>& changed) {
  if (generation_ != shown.generation) prepare(pixels, shown);
  auto before = std::exchange(filled_, {});
  std::vector<const Cover*> toFill;
  for (const auto& cover : covers_) {
    if (cover.canBeUndone && looksBlended(pixels, cover)) {
      for (const auto& run : cover.runs) unblend(pixels, run);
    } else {
      toFill.insert(toFill.begin(), &cover);
      filled_.push_back(cover.area);
    }
  }
  // The topmost is what stays where some lie over each other.
  for (const auto* cover : toFill) fillFromSurroundings(pixels, cover->area, cover->runs, filled_);
  tellOfFilled(std::move(before), changed);
}

void PictureBeneath::prepare(const Pixels& pixels, const OwnSurfaces::Shown& shown) {
  generation_ = shown.generation;
  covers_.clear();
  for (const auto& surface : shown.surfaces) {
    if (surface.output != output_) continue;
    auto cover = coverOf(surface, pixels);
    if (!cover.runs.empty()) covers_.push_back(std::move(cover));
  }
  std::ranges::reverse(covers_);
}

PictureBeneath::Cover PictureBeneath::coverOf(const OwnSurface& surface, const Pixels& pixels) {
  const bool isKnown =
      surface.pixels != nullptr && surface.pixels->size() >= pixelsOf(surface.area);
  // What lies between pixels shows in those beside it too.
  const auto whole = isKnown ? surface.area : padded(surface.area, 1);
  Cover cover{intersection(whole, {0, 0, pixels.width, pixels.height}), {}, surface, isKnown};
  const PixelRect area = cover.area;
  if (area.isEmpty()) return cover;
  for (std::int32_t y = area.y; y < area.bottom(); ++y) {
    if (!isKnown) {
      cover.runs.push_back({area.x, y, area.width});
      continue;
    }
    const auto first = static_cast<std::size_t>(y - surface.area.y) *
                           static_cast<std::size_t>(surface.area.width) +
                       static_cast<std::size_t>(area.x - surface.area.x);
    addRuns(cover.runs, surface.pixels->data() + first, area.x, y, area.width);
  }
  cover.area = {};
  for (const auto& run : cover.runs) cover.area = around(cover.area, {run.x, run.y, run.width, 1});
  cover.canBeUndone = isKnown && std::ranges::all_of(cover.runs, [](const CoveredRun& run) {
                        return run.alpha <= mostAlphaToUndo;
                      });
  return cover;
}

/// Whether at most a quarter of it speaks against that. A pointer above it does, too.
bool PictureBeneath::looksBlended(const Pixels& pixels, const Cover& cover) const {
  std::int32_t all = 0;
  for (const auto& run : cover.runs) all += run.width;
  const std::int32_t step = all / mostSamples + 1;
  std::int32_t next = 0;
  std::int32_t samples = 0;
  std::int32_t strange = 0;
  for (const auto& run : cover.runs) {
    for (; next < run.width; next += step) {
      // What is to be filled above it hides how it looks.
      if (isWithinAny(filled_, run.x + next, run.y)) continue;
      ++samples;
      strange += canBeBlended(pixels, run, next) ? 0 : 1;
    }
    next -= run.width;
  }
  return strange * 4 <= samples;
}

/// What is filled changes with the pixels around it, and where it was not filled before.
void PictureBeneath::tellOfFilled(std::vector<PixelRect> before,
                                  std::vector<PixelRect>& changed) const {
  std::vector<PixelRect> also;
  for (const auto& area : filled_) {
    const bool isTouched = std::ranges::any_of(changed, [&](const PixelRect& rect) {
      return !intersection(rect, padded(area, 1)).isEmpty();
    });
    if (isTouched || std::ranges::count(before, area) == 0) also.push_back(area);
  }
  std::erase_if(before,
                [&](const PixelRect& area) { return std::ranges::count(filled_, area) > 0; });
  also.insert(also.end(), before.begin(), before.end());
  changed.insert(changed.end(), also.begin(), also.end());
}

}  // namespace vesk::wayland::beneath
