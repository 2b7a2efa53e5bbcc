#pragma once

#include <functional>
#include <optional>
#include <thread>

namespace vesk::stream {

/// A thread that gets no signals, as little as those that it starts itself; nothing where the
/// process may have no more. `name` is for a debugger.
std::optional<std::thread> startThread(const char* name, std::function<void()> body);

}  // namespace vesk::stream
