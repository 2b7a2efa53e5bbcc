#pragma once

#include <stdlib.h>

#include <filesystem>

#include "support/TemporaryFolder.h"

namespace vesk::fuzz {

/// A home folder of the fuzzer's own for the log, gone at the end of the process.
inline void useOwnHome() {
  static const testing::TemporaryFolder home;
  std::filesystem::create_directories(home.path() / "Library/Logs");
  ::setenv("HOME", home.path().c_str(), 1);
}

}  // namespace vesk::fuzz
