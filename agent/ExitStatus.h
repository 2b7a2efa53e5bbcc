#pragma once

namespace vesk::agent::exitStatus {

inline constexpr int success = 0;
inline constexpr int systemError = 1;
inline constexpr int usageError = 2;
inline constexpr int waitTimedOut = 3;
inline constexpr int protocolError = 4;

}  // namespace vesk::agent::exitStatus
