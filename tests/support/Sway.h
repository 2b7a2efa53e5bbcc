#pragma once

#include <memory>
#include <string>
#include <vector>

#include "support/TemporaryFolder.h"
#include "support/XServer.h"

namespace vesk::testing {

/// A private Wayland compositor without a screen of its own, answering when the constructor
/// returns: one output HEADLESS-1 of 1920 by 1080 pixels. It refuses to run as root and so runs as
/// somebody else in a namespace, whom the system takes for the user of this process.
class Sway {
 public:
  /// `lines` come on top of its configuration; `environment` entries on top of this process's own
  /// and of those that it is given by itself.
  explicit Sway(const std::vector<std::string>& lines = {},
                std::vector<std::string> environment = {});

  /// The entries for a child's environment.
  std::vector<std::string> environment() const;

  /// Sets the same in this process, for as long as the object lives at least.
  void enter() const;

  /// One of its commands, carried out when this returns: "output HEADLESS-1 scale 2". Throws when
  /// it was refused.
  void command(const std::string& command) const;

  /// What it answers to a question of that type, as JSON: "get_tree".
  std::string ask(const std::string& type) const;

  pid_t pid() const { return process_->pid(); }

  /// Ends it as if it had crashed.
  void kill() { process_.reset(); }

 private:
  std::string message(const std::vector<std::string>& arguments) const;

  TemporaryFolder folder_;
  std::unique_ptr<ChildProcess> process_;
  std::string display_;
  std::string control_;
};

}  // namespace vesk::testing
