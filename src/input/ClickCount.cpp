#include "input/ClickCount.h"

#include <cmath>

namespace vesk {

std::int64_t clickCount(const ButtonPress& last, HostTime time, Point point, std::int64_t button) {
  using namespace std::chrono_literals;
  constexpr double reach = 5.0;
  const bool continues = std::abs(point.x - last.point.x) < reach && last.button == button &&
                         std::abs(point.y - last.point.y) < reach && time - last.time < 500ms;
  return continues ? last.count + 1 : 1;
}

}  // namespace vesk
