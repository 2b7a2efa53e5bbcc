#include "support/CastImages.h"

namespace vesk::testing {

CastImages::CastImages(const MutterCast& cast, PixelSize size, Options options) {
  StreamConfiguration configuration;
  configuration.width = size.width;
  configuration.height = size.height;
  configuration.showsCursor = options.showsCursor;
  configuration.framesPerSecond = options.framesPerSecond;
  images_ = std::make_unique<portal::screen::StreamImages>(cast.remote(), cast.node(), display,
                                                           configuration, options.leftOut);
}

}  // namespace vesk::testing
