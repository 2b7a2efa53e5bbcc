#pragma once

#include "platform/Processes.h"

namespace vesk {

/// Processes as /proc shows them; there are no bundles here.
class LinuxProcesses final : public Processes {
 public:
  ProcessId currentProcessId() const override;
  std::optional<std::string> environment(const std::string& name) const override;
  std::optional<std::string> mainBundleIdentifier() const override { return std::nullopt; }
  void runAndWait(const std::string& path, const std::vector<std::string>& arguments) override;
  std::vector<ProcessId> runningApplications(std::string_view bundleIdentifier) const override;
  bool forceTerminate(ProcessId process) override;
  void terminate(ProcessId process) override;
  [[noreturn]] void exit(int status) override;
};

}  // namespace vesk
