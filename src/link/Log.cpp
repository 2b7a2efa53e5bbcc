#include "link/Log.h"

#include <memory>
#include <mutex>

#include "link/LogFile.h"
#include "link/LogLimit.h"
#include "platform/User.h"

namespace vesk::Log {
namespace {

struct OneLog {
  const LogFile file{homeDirectory() / "Library/Logs/Vesk Remote.log"};
  std::mutex mutex;
  LogLimit limit;
};

}  // namespace

void info(std::string_view message) {
  // Kept until the process has ended, past the destruction of statics: other threads may still log.
  static auto& log = *std::make_unique<OneLog>().release();
  const std::lock_guard lock(log.mutex);
  for (const auto& line : log.limit.admit(message, std::chrono::steady_clock::now()))
    log.file.info(line);
}

}  // namespace vesk::Log
