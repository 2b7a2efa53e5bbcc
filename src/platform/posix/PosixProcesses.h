#pragma once

#include "platform/Processes.h"

namespace vesk {

/// What is the same for processes on every POSIX system.
class PosixProcesses : public Processes {
 public:
  ProcessId currentProcessId() const override;
  std::optional<std::string> environment(const std::string& name) const override;
  void runAndWait(const std::string& path, const std::vector<std::string>& arguments) override;
  void terminate(ProcessId process) override;
  [[noreturn]] void exit(int status) override;

 protected:
  /// To the system, zero and less stand for whole groups of processes, or for all of them.
  static constexpr bool isOneProcess(ProcessId process) { return process > 0; }
};

}  // namespace vesk
