#pragma once

#include <QDBusConnection>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "support/TemporaryFolder.h"
#include "support/XServer.h"

namespace vesk::testing {

/// What a private desktop without a screen that shares by a portal has beside its compositor: a
/// runtime folder and a home, a bus, PipeWire with its session manager, and the portal. Nobody is
/// started by being called over the bus. All of it is gone with the object.
class PortalServices {
 public:
  PortalServices(const PortalServices&) = delete;
  PortalServices& operator=(const PortalServices&) = delete;

  /// The entries for a child's environment.
  std::vector<std::string> environment() const;

  /// Sets the same in this process, for as long as the object lives at least.
  void enter() const;

  /// Where PipeWire's socket and the compositor's lie.
  std::filesystem::path runtimeFolder() const { return folder_.path() / "run"; }
  std::string pipeWireSocket() const { return runtimeFolder() / "pipewire-0"; }

  /// The test's own connection to the bus. It ends with the object.
  const QDBusConnection& bus() const { return connection_; }

  pid_t busPid() const { return bus_->pid(); }
  pid_t compositorPid() const { return compositor_->pid(); }
  pid_t pipeWirePid() const { return pipeWire_->pid(); }
  pid_t portalPid() const { return portal_->pid(); }

  /// Each ends that part as if it had crashed.
  void killBus() { bus_.reset(); }
  void killCompositor() { compositor_.reset(); }
  void killPipeWire() { pipeWire_.reset(); }
  void killPortal() { portal_.reset(); }

  /// Another one in the place of the one that was killed; it answers when this returns.
  void startPortal();

 protected:
  /// Bus and PipeWire answer when this returns. `desktop` is its name in XDG_CURRENT_DESKTOP,
  /// `dialogs` that of its part of the portal.
  PortalServices(std::string desktop, std::string dialogs);
  ~PortalServices();

  /// On top of everybody's environment, for the desktop's own programs.
  void tellServices(const std::vector<std::string>& entries);

  /// `command` names the compositor with the socket that `display` is the name of. It answers when
  /// this returns.
  static constexpr const char* display = "wayland-9";
  void startCompositor(std::vector<std::string> command, std::vector<std::string> entries = {});

  /// The portal with the desktop's own part of it, which `command` starts.
  void startPortal(std::vector<std::string> command);

  void write(const std::string& path, const std::string& text) const;
  void awaitName(const std::string& name) const;
  std::filesystem::path folder() const { return folder_.path(); }

 private:
  void startBus();
  void startPipeWire();
  bool knowsDevices() const;
  std::unique_ptr<ChildProcess> start(std::vector<std::string> command,
                                      std::vector<std::string> extra = {}) const;

  const std::string desktop_;
  const std::string dialogsName_;
  TemporaryFolder folder_;
  std::vector<std::string> ofServices_;  ///< entries of their environment beside everybody's
  QDBusConnection connection_{QString()};
  std::unique_ptr<ChildProcess> bus_;
  std::unique_ptr<ChildProcess> pipeWire_;
  std::unique_ptr<ChildProcess> sessionManager_;
  std::unique_ptr<ChildProcess> compositor_;
  std::unique_ptr<ChildProcess> permissions_;
  std::unique_ptr<ChildProcess> dialogs_;
  std::unique_ptr<ChildProcess> portal_;
};

}  // namespace vesk::testing
