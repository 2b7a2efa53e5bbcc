#include "platform/Descriptor.h"

#include <unistd.h>

namespace vesk {

void Descriptor::close() {
  if (descriptor_ >= 0) ::close(std::exchange(descriptor_, -1));
}

}  // namespace vesk
