#include "support/CastImages.h"

#include <utility>

namespace vesk::testing {

CastImages::CastImages(const MutterCast& cast, PixelSize size, Options options)
    : CastImages(cast.remote(), cast.node(), size, options) {}

CastImages::CastImages(Descriptor remote, std::uint32_t node, PixelSize size, Options options) {
  StreamConfiguration configuration;
  configuration.width = size.width;
  configuration.height = size.height;
  configuration.showsCursor = options.showsCursor;
  configuration.framesPerSecond = options.framesPerSecond;
  images_ = std::make_unique<portal::screen::StreamImages>(std::move(remote), node, display,
                                                           configuration, options.leftOut);
}

}  // namespace vesk::testing
