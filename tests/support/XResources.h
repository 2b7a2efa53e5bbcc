#pragma once

#include <cstddef>

namespace vesk::testing {

/// What the server that DISPLAY names keeps for all of its clients.
struct XResources {
  std::size_t clients = 0;  ///< the connection that asks among them
  std::size_t objects = 0;  ///< windows, pixmaps, pictures, regions and all else
  bool operator==(const XResources&) const = default;
};

XResources countXResources();

/// The descriptors and the threads of this process.
struct ProcessResources {
  std::size_t descriptors = 0;
  std::size_t threads = 0;
  bool operator==(const ProcessResources&) const = default;
};

ProcessResources countProcessResources();

}  // namespace vesk::testing
