#include "lifecycle/SingleInstance.h"

#include <string>

#include "link/Log.h"
#include "platform/User.h"

namespace vesk::SingleInstance {

bool startedByOurJob(const Processes& processes) {
  return processes.environment("XPC_SERVICE_NAME") == jobLabel;
}

void handOverIfNotOurJob(Processes& processes) {
  if (startedByOurJob(processes)) return;
  const std::string label(jobLabel);
  Log::info("Started outside launchd (pid " + std::to_string(processes.currentProcessId()) +
            "); handing over to " + label + " and quitting.");
  processes.runAndWait("/bin/launchctl",
                       {"kickstart", "gui/" + std::to_string(userId()) + "/" + label});
  processes.exit(0);
}

void closeOthers(Processes& processes) {
  const std::string identifier = processes.mainBundleIdentifier().value_or(std::string(jobLabel));
  for (const ProcessId process : processes.runningApplications(identifier)) {
    if (process == processes.currentProcessId()) continue;
    Log::info("Closing another copy of Vesk Remote (pid " + std::to_string(process) + ").");
    if (!processes.forceTerminate(process)) processes.terminate(process);
  }
}

}  // namespace vesk::SingleInstance
