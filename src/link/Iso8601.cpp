#include "link/Iso8601.h"

#include <array>
#include <cstdio>

namespace vesk {

std::string iso8601(std::chrono::system_clock::time_point time) {
  using namespace std::chrono;
  const auto day = floor<days>(time);
  const year_month_day date(day);
  const hh_mm_ss clock(floor<seconds>(time - day));
  std::array<char, 64> text{};
  const int length = std::snprintf(
      text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(date.year()),
      static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
      static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
      static_cast<int>(clock.seconds().count()));
  return {text.data(), static_cast<std::size_t>(length)};
}

}  // namespace vesk
