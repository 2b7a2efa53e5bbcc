#include "platform/linux/stream/streamErrors.h"

#include <sys/eventfd.h>

#include "platform/Descriptor.h"

namespace vesk::stream {

PlatformError unlessNoDescriptor(const PlatformError& other) {
  return Descriptor(::eventfd(0, EFD_CLOEXEC)) ? other : streamError::noDescriptor;
}

}  // namespace vesk::stream
