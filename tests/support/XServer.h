#pragma once

#include <sys/types.h>

#include <memory>
#include <string>
#include <vector>

namespace vesk::testing {

/// A program that runs for the length of a test. It is killed, and waited for, at the end of the
/// object's life.
class ChildProcess {
 public:
  /// `command` is looked up in PATH. `environment` entries ("NAME=value") come on top of this
  /// process's own. Throws when the program cannot be started.
  ChildProcess(std::vector<std::string> command, std::vector<std::string> environment = {},
               std::vector<int> keptDescriptors = {});
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  pid_t pid() const { return pid_; }

  /// Sends a signal and waits for the end. The status as waitpid gives it.
  int stop(int signal);

 private:
  pid_t pid_ = -1;
};

/// A private X server on a display number that was free, answering when the constructor returns.
class XServer {
 public:
  /// An Xvfb without GLX. `screen` is WIDTHxHEIGHTxDEPTH; further options go to the server as they
  /// are.
  explicit XServer(const std::string& screen = "1920x1080x24",
                   const std::vector<std::string>& options = {});

  /// Another server, started by `command`; it must know the option -displayfd.
  XServer(std::vector<std::string> command, std::vector<std::string> environment);

  /// The value for DISPLAY.
  const std::string& display() const { return display_; }

  /// The entry for a child's environment.
  std::string environment() const { return "DISPLAY=" + display_; }

  pid_t pid() const { return process_->pid(); }

  /// Ends the server as if it had crashed.
  void kill() { process_.reset(); }

 private:
  std::unique_ptr<ChildProcess> process_;
  std::string display_;
};

}  // namespace vesk::testing
