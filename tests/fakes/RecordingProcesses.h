#pragma once

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "platform/Processes.h"

namespace vesk::fakes {

/// Thrown where the process would have ended.
struct ProcessExited {
  int status;
};

/// Processes that a test made up; what is done to them is written down in `calls`, in order.
class RecordingProcesses final : public Processes {
 public:
  ProcessId currentProcessId() const override { return own; }

  std::optional<std::string> environment(const std::string& name) const override {
    const auto found = variables.find(name);
    return found == variables.end() ? std::nullopt : std::optional(found->second);
  }

  std::optional<std::string> mainBundleIdentifier() const override { return bundle; }

  void runAndWait(const std::string& path, const std::vector<std::string>& arguments) override {
    std::string call = "run " + path;
    for (const auto& argument : arguments) call += " " + argument;
    calls.push_back(call);
  }

  std::vector<ProcessId> runningApplications(std::string_view identifier) const override {
    calls.push_back("look for " + std::string(identifier));
    return running;
  }

  bool forceTerminate(ProcessId process) override {
    calls.push_back("force " + std::to_string(process));
    return std::ranges::find(refusing, process) == refusing.end();
  }

  void terminate(ProcessId process) override {
    calls.push_back("terminate " + std::to_string(process));
  }

  [[noreturn]] void exit(int status) override {
    calls.push_back("exit " + std::to_string(status));
    throw ProcessExited{status};
  }

  ProcessId own = 100;
  std::map<std::string, std::string> variables;
  std::optional<std::string> bundle;
  std::vector<ProcessId> running;
  std::vector<ProcessId> refusing;
  mutable std::vector<std::string> calls;
};

}  // namespace vesk::fakes
