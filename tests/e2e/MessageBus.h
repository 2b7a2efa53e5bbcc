#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "support/XServer.h"

namespace vesk::testing {

/// A message bus of a session's own, answering when the constructor returns. It is killed at the
/// end of the object's life.
class MessageBus {
 public:
  enum class Services {
    none,     ///< but those that the test itself has described in its folder "services"
    systems,  ///< those that are installed, at home in the bus's folder
  };

  /// Its files are in that folder, which outlives it. Throws when it does not start.
  explicit MessageBus(const std::filesystem::path& folder, Services services = Services::none);

  const std::string& address() const { return address_; }

  /// The entry for a child's environment.
  std::string environment() const { return "DBUS_SESSION_BUS_ADDRESS=" + address_; }

 private:
  std::string address_;
  std::unique_ptr<ChildProcess> process_;
};

}  // namespace vesk::testing
