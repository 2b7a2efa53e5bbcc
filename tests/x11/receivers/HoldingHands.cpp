#include <unistd.h>

#include <cstdio>
#include <fstream>

#include "x11/Session.h"

/// Injects the messages on its command line, after the file to write when that is done, and then
/// holds what it holds until it is killed.
int main(int argc, char* argv[]) {
  vesk::testing::Hands hands;
  for (int i = 2; i < argc; ++i) hands.send(argv[i]);
  hands.poster.pointerLocation();  // the server has done all of it
  std::ofstream(argv[1]) << "ready";
  for (;;) ::pause();
}
