#pragma once

#include <cstdint>
#include <vector>

namespace vesk::rates {

/// Something like a photograph: blots of every size, the larger the stronger, which repeats itself
/// beyond its edges. The same on every machine. Thread: any.
class Texture {
 public:
  static constexpr int edge = 2048;

  explicit Texture(unsigned seed);

  int at(int x, int y) const {
    return values_[static_cast<std::size_t>((y & (edge - 1)) * edge + (x & (edge - 1)))];
  }

 private:
  std::vector<std::uint8_t> values_;
};

}  // namespace vesk::rates
