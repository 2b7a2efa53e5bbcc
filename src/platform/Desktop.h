#pragma once

#include <string>

#include "platform/Displays.h"
#include "platform/Events.h"
#include "platform/InputGate.h"
#include "platform/Permissions.h"
#include "platform/ScreenCapture.h"

namespace vesk {

/// Thread: any. Owns: what it hands out by reference, for its own life.
/// One graphical session. On some systems a single grant of the person serves looking and touching
/// together, so the things that need it come from one object.
class Desktop {
 public:
  virtual ~Desktop() = default;

  /// What it is, for the log: "an X server".
  virtual std::string description() const = 0;

  virtual Permissions& permissions() = 0;
  virtual Displays& displays() = 0;
  virtual ScreenCapture& screenCapture() = 0;
  virtual EventPoster& events() = 0;

  /// What `events` asks before each stroke.
  virtual InputGate& inputGate() = 0;
};

}  // namespace vesk
