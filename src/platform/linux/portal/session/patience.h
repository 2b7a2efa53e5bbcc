#pragma once

#include <chrono>
#include <limits>

/// How long a portal is waited for.
namespace vesk::portal::session::patience {

/// One that is only being started looks for all its helpers first, eleven seconds at worst.
inline constexpr std::chrono::seconds start(20);

/// For what asks nobody.
inline constexpr std::chrono::seconds step(10);

/// Without end: a portal that was held up carries out in any order what has come in meanwhile, and
/// would let go of a key before it presses it.
inline constexpr std::chrono::milliseconds stroke(std::numeric_limits<int>::max());

/// What ends is not held up by one that has stopped.
inline constexpr std::chrono::milliseconds close(200);

}  // namespace vesk::portal::session::patience
