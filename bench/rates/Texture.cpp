#include "rates/Texture.h"

#include <algorithm>
#include <random>

namespace vesk::rates {
namespace {

/// Adds blots of one size: random heights at the corners of a grid, and slopes in between.
void addBlots(std::vector<double>& sum, int size, double strength, std::mt19937& random) {
  const int corners = Texture::edge / size;
  std::vector<double> heights(static_cast<std::size_t>(corners * corners));
  for (auto& height : heights) height = (static_cast<double>(random() % 2001) / 1000 - 1);
  const auto heightAt = [&](int x, int y) {
    return heights[static_cast<std::size_t>((y % corners) * corners + x % corners)];
  };
  for (int y = 0; y < Texture::edge; ++y) {
    const double v = static_cast<double>(y % size) / size;
    for (int x = 0; x < Texture::edge; ++x) {
      const double u = static_cast<double>(x % size) / size;
      const int i = x / size, j = y / size;
      const double top = heightAt(i, j) * (1 - u) + heightAt(i + 1, j) * u;
      const double bottom = heightAt(i, j + 1) * (1 - u) + heightAt(i + 1, j + 1) * u;
      sum[static_cast<std::size_t>(y * Texture::edge + x)] +=
          strength * (top * (1 - v) + bottom * v);
    }
  }
}

}  // namespace

Texture::Texture(unsigned seed) {
  std::mt19937 random(seed);
  std::vector<double> sum(static_cast<std::size_t>(edge) * edge, 126);
  double strength = 80;
  for (int size = 512; size >= 1; size /= 2, strength *= 0.55) {
    addBlots(sum, size, strength, random);
  }
  for (const double value : sum) {
    values_.push_back(static_cast<std::uint8_t>(std::clamp(value, 16.0, 235.0)));
  }
}

}  // namespace vesk::rates
