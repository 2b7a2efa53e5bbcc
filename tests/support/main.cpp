#include <gtest/gtest.h>
#include <stdlib.h>

#include <csignal>

#include "support/TemporaryFolder.h"

/// Every test program has a home folder of its own, so that nobody's log is touched.
int main(int argc, char* argv[]) {
  testing::InitGoogleTest(&argc, argv);
  // The tests' own ends of sockets must not end the test program when the other end is gone.
  std::signal(SIGPIPE, SIG_IGN);
  const vesk::testing::TemporaryFolder home;
  std::filesystem::create_directories(home.path() / "Library/Logs");
  ::setenv("HOME", home.path().c_str(), 1);
  return RUN_ALL_TESTS();
}
