#pragma once

#include <string>

#include "platform/Descriptor.h"

namespace vesk::wayland::input {

/// A file in memory that holds the text and the zero that ends it, and that nobody can change any
/// more: who reads it need not fear the writer. None where the system has no memory for it.
Descriptor sealedFile(const std::string& text);

}  // namespace vesk::wayland::input
