#pragma once

#include <string_view>

namespace vesk {

/// Ends the process for a programming error: one line on standard error, then abort. For values
/// that cannot occur in normal use; never for something that the agent or the person can cause.
[[noreturn]] void fatal(std::string_view message);

}  // namespace vesk
