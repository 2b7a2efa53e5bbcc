#pragma once

#include <cstdint>
#include <string>

namespace vesk::agent {

/// Why a WebSocket is closed: the code for the page, the words for the person.
struct PageRefusal {
  std::uint16_t code = 0;
  std::string words;  ///< at most 123 bytes, since a close frame has no room for more
};

namespace pageRefusal {

inline constexpr std::uint16_t agentEnds = 1001;
inline constexpr std::uint16_t malformed = 4400;
inline constexpr std::uint16_t wrongKey = 4401;
inline constexpr std::uint16_t tooSlow = 4408;
inline constexpr std::uint16_t occupied = 4409;
inline constexpr std::uint16_t stuckProgram = 4410;

}  // namespace pageRefusal
}  // namespace vesk::agent
