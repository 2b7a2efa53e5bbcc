#include "platform/Fatal.h"

#include <cstdlib>
#include <string>

#include "platform/FileHandle.h"

namespace vesk {

void fatal(std::string_view message) {
  writeToStandardError("vesk-remote: programming error: " + std::string(message) + "\n");
  std::abort();
}

}  // namespace vesk
