#pragma once

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "e2e/MessageBus.h"
#include "support/TemporaryFolder.h"
#include "support/XServer.h"

namespace vesk::testing {

/// What manages, and perhaps composes, the windows of a server.
enum class DesktopKind { bare, openbox, openboxPicom, xfwm4, xfwm4Compositing, mutter, kwin };

inline constexpr std::array everyDesktop{
    DesktopKind::bare,  DesktopKind::openbox,          DesktopKind::openboxPicom,
    DesktopKind::xfwm4, DesktopKind::xfwm4Compositing, DesktopKind::mutter,
    DesktopKind::kwin};

/// For the names of tests.
std::string nameOf(DesktopKind kind);

/// A window manager with what it needs to run by itself: a home folder and a message bus of its
/// own. It is killed at the end of the object's life.
class DesktopManager {
 public:
  /// `server` is the environment's entry that names the server. Throws when it cannot be started;
  /// returns before it manages anything.
  DesktopManager(DesktopKind kind, const std::string& server);

  /// Whether it composes what the screen shows, without another program's help.
  static bool composes(DesktopKind kind);

 private:
  TemporaryFolder folder_;
  std::vector<std::string> environment_;
  std::optional<MessageBus> bus_;
  std::unique_ptr<ChildProcess> manager_;
};

}  // namespace vesk::testing
