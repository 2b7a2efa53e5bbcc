#pragma once

#include "platform/posix/PosixProcesses.h"

namespace vesk::mac {

/// Processes, and the applications among them as the workspace knows them.
class MacProcesses final : public PosixProcesses {
 public:
  std::optional<std::string> mainBundleIdentifier() const override;
  std::vector<ProcessId> runningApplications(std::string_view bundleIdentifier) const override;
  bool forceTerminate(ProcessId process) override;
};

}  // namespace vesk::mac
