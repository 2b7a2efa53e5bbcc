#include <cstdlib>

#include "control/CommandLine.h"
#include "platform/FileHandle.h"
#include "platform/Platform.h"

int main(int argc, char* argv[]) {
  (void)argc;
  (void)argv;
  return EXIT_SUCCESS;
}
