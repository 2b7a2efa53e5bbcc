#pragma once

#include <cstddef>
#include <span>

#include "platform/Descriptor.h"

namespace vesk::wayland::server {

/// Memory for the compositor and this program, of a size that nobody can change any more: whoever
/// reads beyond the end of what has become smaller falls. None where the system has none left, or
/// no second descriptor: the library takes one along with the request that hands the memory over,
/// and gives the connection up without.
Descriptor sharedMemory(std::size_t bytes);

/// The same with something in it.
Descriptor sharedMemory(std::span<const std::byte> content);

}  // namespace vesk::wayland::server
