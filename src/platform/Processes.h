#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vesk {

using ProcessId = std::int32_t;

/// Thread: any, except where a member says otherwise. Owns: nothing.
/// This process, its environment, its children, and other copies of the program.
class Processes {
 public:
  virtual ~Processes() = default;

  virtual ProcessId currentProcessId() const = 0;

  /// The value of an environment variable, or nothing when it is not set.
  virtual std::optional<std::string> environment(const std::string& name) const = 0;

  /// The identifier of the bundle that the program runs from, or nothing outside a bundle.
  virtual std::optional<std::string> mainBundleIdentifier() const = 0;

  /// Runs the program at `path` with `arguments` (its own name not included), this process's
  /// environment and standard streams, and waits until it has ended, or until a signal
  /// has asked for the end of this process. A program that cannot be
  /// started, and its exit status, are passed over in silence.
  virtual void runAndWait(const std::string& path, const std::vector<std::string>& arguments) = 0;

  /// The running applications of this user with that bundle identifier, this process included, in
  /// the system's order. Where bundles do not exist: the processes of this user that run an
  /// executable of the same file name as this one's, wherever it lies and also when it was replaced
  /// since, in the order of their process identifiers.
  virtual std::vector<ProcessId> runningApplications(std::string_view bundleIdentifier) const = 0;

  /// Ends a process without asking it. False when the system refuses, and for an identifier that is
  /// not above zero, which is never signalled.
  virtual bool forceTerminate(ProcessId process) = 0;

  /// Sends SIGTERM; the result is not checked. Never to an identifier that is not above zero.
  virtual void terminate(ProcessId process) = 0;

  /// Ends this process.
  [[noreturn]] virtual void exit(int status) = 0;
};

/// From now on, writing where nobody reads any more is an error like any other and not the end of
/// the process. Programs that `runAndWait` starts are left out of it.
void ignoreBrokenPipes();

}  // namespace vesk
