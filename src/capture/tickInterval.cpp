#include "capture/tickInterval.h"

#include "platform/Fatal.h"

namespace vesk {

std::chrono::nanoseconds tickInterval(std::int32_t fps) {
  if (fps <= 0) fatal("a timer was asked for at no frame rate");
  return std::chrono::nanoseconds(std::chrono::seconds(1)) / fps;
}

}  // namespace vesk
