#pragma once

#include <sys/types.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Descriptor.h"
#include "support/Patience.h"
#include "support/XServer.h"

namespace vesk::testing {

/// The program that shows alert and banner at a test's command; ended and waited for at the end.
class PresenceWindow {
 public:
  explicit PresenceWindow(std::vector<std::string> environment);

  void send(const std::string& command);

  /// The next line that it prints, or nothing when `limit` passes first.
  std::optional<std::string> line(int limitInMilliseconds = patience());

  std::optional<std::string> ask(const std::string& command) {
    send(command);
    return line();
  }

  pid_t pid() const { return process_->pid(); }

 private:
  Descriptor in_;
  Descriptor out_;
  std::unique_ptr<ChildProcess> process_;
};

}  // namespace vesk::testing
