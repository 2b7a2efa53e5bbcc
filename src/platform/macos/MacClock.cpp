#include "platform/macos/MacClock.h"

#include "platform/macos/MediaTime.h"

namespace vesk::mac {

HostTime MacClock::hostTime() const {
  return mac::hostTime(CMClockGetTime(CMClockGetHostTimeClock()));
}

}  // namespace vesk::mac
