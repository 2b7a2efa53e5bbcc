#include "e2e/ScreenPixels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>

namespace vesk::testing {
namespace {

/// In the channel where two colours differ most.
int levelsBetween(std::uint32_t a, std::uint32_t b) {
  int most = 0;
  for (unsigned shift = 0; shift < 24; shift += 8) {
    const int left = static_cast<int>(a >> shift & 255U);
    const int right = static_cast<int>(b >> shift & 255U);
    const int levels = left < right ? right - left : left - right;
    if (levels > most) most = levels;
  }
  return most;
}

}  // namespace

Pixels pixelsOf(const std::uint8_t* picture, std::size_t count) {
  const auto* const values = reinterpret_cast<const std::uint32_t*>(picture);
  Pixels pixels(values, values + count);
  auto* const end = pixels.data() + count;
  for (auto* pixel = pixels.data(); pixel != end; ++pixel) *pixel &= 0xffffffU;
  return pixels;
}

Difference difference(const Pixels& a, const Pixels& b, int width, int toleratedLevels) {
  Difference result;
  // By pointers: nearly all pixels are alike, and where nothing is optimised an iterator takes
  // longer than the comparison.
  const std::uint32_t* left = a.data();
  const std::uint32_t* right = b.data();
  const auto* const end = left + std::min(a.size(), b.size());
  for (; left != end; ++left, ++right) {
    if (*left == *right) continue;
    const int levels = levelsBetween(*left, *right);
    if (levels <= toleratedLevels) continue;
    ++result.pixels;
    if (levels > Difference::loudLevels) ++result.loud;
    result.most = std::max(result.most, levels);
    const auto place = static_cast<int>(left - a.data());
    result.area = around(result.area, {place % width, place / width, 1, 1});
  }
  return result;
}

int count(std::span<const std::uint32_t> pixels, std::uint32_t colour) {
  int found = 0;
  const auto* const end = pixels.data() + pixels.size();
  for (const auto* pixel = pixels.data(); pixel != end; ++pixel)
    found += (*pixel & 0xffffffU) == colour ? 1 : 0;
  return found;
}

void keepPicture(const Pixels& pixels, int width, const std::string& step) {
  const char* const folder = std::getenv("VESK_TEST_PICTURES");
  if (folder == nullptr) return;
  const auto* const test = ::testing::UnitTest::GetInstance()->current_test_info();
  std::string name = std::string(test->name()) + "-" + step;
  std::ranges::replace(name, '/', '-');
  std::ofstream file(std::string(folder) + "/" + name + ".ppm", std::ios::binary);
  const auto height = pixels.size() / static_cast<std::size_t>(width);
  file << "P6\n" << width << " " << height << "\n255\n";
  for (const std::uint32_t pixel : pixels) {
    file.put(static_cast<char>(pixel >> 16)).put(static_cast<char>(pixel >> 8));
    file.put(static_cast<char>(pixel));
  }
}

}  // namespace vesk::testing
