#pragma once

namespace vesk {

/// Told on the main thread.
class ApplicationDelegate {
 public:
  virtual ~ApplicationDelegate() = default;

  /// Once, when the application's loop has begun to run.
  virtual void applicationDidFinishLaunching() = 0;

  /// When a signal (SIGTERM, SIGINT, SIGHUP), also inside a modal loop, or the session's own end
  /// has asked for the end of the process. It does not outlive the call; who asks again changes
  /// nothing.
  virtual void applicationWillTerminate() = 0;
};

/// How the application shows itself to the person. The value is the Mac's own.
enum class ActivationPolicy : int { accessory = 1 };

/// Thread: main. Owns: the main loop. One per process.
class Application {
 public:
  virtual ~Application() = default;

  /// An accessory application has no entry in docks and task bars, and closing its last window
  /// does not end it.
  virtual void setActivationPolicy(ActivationPolicy policy) = 0;

  /// Held weakly; the delegate outlives `run`.
  virtual void setDelegate(ApplicationDelegate& delegate) = 0;

  /// Runs the main loop. In practice it never returns: the process is ended from outside or by
  /// `Processes::exit`.
  virtual void run() = 0;
};

}  // namespace vesk
