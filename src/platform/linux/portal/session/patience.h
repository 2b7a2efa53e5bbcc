#pragma once

#include <chrono>

/// How long a portal is waited for.
namespace vesk::portal::session::patience {

/// One that is only being started looks for all its helpers first, eleven seconds at worst.
inline constexpr std::chrono::seconds start(20);

/// For what asks nobody.
inline constexpr std::chrono::seconds step(10);

/// A stroke that is not answered by then will not be.
inline constexpr std::chrono::seconds stroke(2);

/// What ends is not held up by one that has stopped.
inline constexpr std::chrono::milliseconds close(200);

}  // namespace vesk::portal::session::patience
