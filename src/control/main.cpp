#include <cstdlib>
#include <memory>
#include <system_error>

#include "control/CommandLine.h"
#include "control/Controller.h"
#include "platform/FileHandle.h"
#include "platform/Platform.h"
#include "platform/Processes.h"

namespace {

/// The application and everything in it. It ends with the process, so nothing is ever taken apart.
int runApplication() {
  vesk::Platform platform = vesk::makePlatform();
  platform.application->setActivationPolicy(vesk::ActivationPolicy::accessory);
  const auto controller = std::make_shared<vesk::Controller>(platform);
  platform.application->setDelegate(*controller);
  platform.application->run();
  std::_Exit(EXIT_SUCCESS);
}

}  // namespace

int main(int argc, char* argv[]) try {
  vesk::ignoreBrokenPipes();
  const std::span arguments(argv, static_cast<std::size_t>(argc));
  if (const auto answer = vesk::commandLineAnswer(arguments.subspan(1))) {
    vesk::writeToStandardOutput(answer->output);
    vesk::writeToStandardError(answer->error);
    return answer->status;
  }
  return runApplication();
} catch (const vesk::NoDesktop& reason) {
  vesk::writeToStandardError("vesk-remote: " + std::string(reason.what()) + "\n");
  return EXIT_FAILURE;
} catch (const std::system_error& reason) {
  vesk::writeToStandardError("vesk-remote: cannot start: " + reason.code().message() + ".\n");
  return EXIT_FAILURE;
}
