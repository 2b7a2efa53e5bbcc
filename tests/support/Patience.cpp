#include "support/Patience.h"

#include <chrono>
#include <cstdlib>
#include <thread>

namespace vesk::testing {

int patience() { return 1000 * chosenSeconds(30); }

int chosenSeconds(int otherwise) {
  const char* const seconds = std::getenv("VESK_PATIENCE");
  return seconds == nullptr ? otherwise : std::atoi(seconds);
}

bool waitUntil(const std::function<bool()>& condition, int limitInMilliseconds) {
  using namespace std::chrono;
  const auto deadline = steady_clock::now() + milliseconds(limitInMilliseconds);
  while (!condition()) {
    if (steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(milliseconds(5));
  }
  return true;
}

}  // namespace vesk::testing
