#pragma once

#include "platform/posix/PosixProcesses.h"

namespace vesk {

/// Processes as /proc shows them; there are no bundles here.
class LinuxProcesses final : public PosixProcesses {
 public:
  std::optional<std::string> mainBundleIdentifier() const override { return std::nullopt; }
  std::vector<ProcessId> runningApplications(std::string_view bundleIdentifier) const override;
  bool forceTerminate(ProcessId process) override;
};

}  // namespace vesk
