#include "platform/linux/stream/leavesOutThisProgram.h"

#include <unistd.h>

#include <algorithm>

namespace vesk::stream {

bool leavesOutThisProgram(const ContentFilter& filter) {
  return std::ranges::count(filter.excludingApplications, ::getpid(),
                            &RunningApplication::processID) > 0;
}

}  // namespace vesk::stream
