#pragma once

#include <QDBusConnection>
#include <memory>
#include <string>
#include <vector>

#include "platform/Geometry.h"
#include "support/TemporaryFolder.h"
#include "support/XServer.h"

namespace vesk::testing {

struct MutterOptions {
  PixelSize monitor{1920, 1080};
  /// An X server for programs that want one.
  bool hasXServer = false;
  /// What asks the person before a program gets the screen and the input.
  bool hasPortal = true;
};

/// A private GNOME desktop without its shell and without a screen: a bus, PipeWire with its
/// session manager, Mutter, and the portal. All of it answers when the constructor returns, and is
/// gone with the object. Nobody is started by being called over the bus.
class Mutter {
 public:
  explicit Mutter(MutterOptions options = {});
  ~Mutter();
  Mutter(const Mutter&) = delete;
  Mutter& operator=(const Mutter&) = delete;

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

 private:
  void startBus();
  void startPipeWire();
  void startCompositor(const MutterOptions& options);
  std::unique_ptr<ChildProcess> start(std::vector<std::string> command) const;
  void awaitName(const std::string& name) const;

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
