#include "platform/linux/picture/composed/Digest.h"

#include <xxhash.h>

#include <memory>
#include <new>

namespace vesk::picture::composed {
namespace {

struct Free {
  void operator()(XXH3_state_t* state) const { XXH3_freeState(state); }
};

}  // namespace

Digest::Digest(const PlanesView& pixels, int width, int height, std::uint64_t seed) {
  const std::unique_ptr<XXH3_state_t, Free> state(XXH3_createState());
  if (state == nullptr) throw std::bad_alloc();
  XXH3_128bits_reset_withSeed(state.get(), seed);
  const auto bytes = static_cast<std::size_t>(width);
  for (int y = 0; y < height; ++y) XXH3_128bits_update(state.get(), pixels.lumaAt(0, y), bytes);
  for (int y = 0; y < height; y += 2) {
    XXH3_128bits_update(state.get(), pixels.chromaAt(0, y), bytes);
  }
  const XXH128_hash_t hash = XXH3_128bits_digest(state.get());
  low_ = hash.low64;
  high_ = hash.high64;
}

}  // namespace vesk::picture::composed
