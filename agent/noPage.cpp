#include <stdexcept>

#include "agent/Page.h"

namespace vesk::agent {

/// The page's library is one of the Linux build alone.
std::unique_ptr<Page> openPage(std::uint16_t) {
  throw std::runtime_error("this build of the agent has no page");
}

}  // namespace vesk::agent
