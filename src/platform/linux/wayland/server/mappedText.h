#pragma once

#include <cstdint>
#include <string>

namespace vesk::wayland::server {

/// The text in a file of that size in bytes that the compositor has handed over, without the zero
/// that ends it; none where it cannot be read.
std::string mappedText(int file, std::uint32_t size);

}  // namespace vesk::wayland::server
