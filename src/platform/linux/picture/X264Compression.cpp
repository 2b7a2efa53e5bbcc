#include "platform/linux/picture/X264Compression.h"

#include <system_error>

#include "platform/linux/picture/X264Encoder.h"
#include "platform/linux/picture/X264Session.h"

namespace vesk::picture {

Compression::Result X264Compression::makeH264Session(
    const CompressionSpecification& specification) {
  // Whether the encoder opens is only found out by opening one; its real settings come later.
  X264Settings settings;
  settings.width = specification.width;
  settings.height = specification.height;
  if (!X264Encoder(settings)) return {refused, nullptr};
  try {
    return {0, std::make_unique<X264Session>(specification)};
  } catch (const std::system_error& noThread) {
    return {noThread.code().value(), nullptr};
  }
}

}  // namespace vesk::picture
