#pragma once

#include "platform/SystemClock.h"

namespace vesk::mac {

/// The clock by which the screen's images are timed. Thread: any.
class MacClock final : public SystemClock {
 public:
  HostTime hostTime() const override;
};

}  // namespace vesk::mac
