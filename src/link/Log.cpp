#include "link/Log.h"

#include <memory>

#include "link/LogFile.h"
#include "platform/User.h"

namespace vesk::Log {

void info(std::string_view message) {
  // Kept until the process has ended, past the destruction of statics: other threads may still log.
  static const auto& file =
      *std::make_unique<LogFile>(homeDirectory() / "Library/Logs/Vesk Remote.log").release();
  file.info(message);
}

}  // namespace vesk::Log
