#pragma once

#include <memory>
#include <stdexcept>

#include "platform/Application.h"
#include "platform/Clock.h"
#include "platform/Compression.h"
#include "platform/Desktop.h"
#include "platform/Processes.h"
#include "platform/Queues.h"

namespace vesk {

/// Everything that the core asks of the operating system, made once per process. The members are
/// never null; they outlive every core object.
struct Platform {
  std::unique_ptr<Clock> clock;
  std::unique_ptr<Processes> processes;
  std::unique_ptr<Application> application;
  std::unique_ptr<Queues> queues;
  std::unique_ptr<Desktop> desktop;
  std::unique_ptr<Compression> compression;
};

/// Thrown where there is no graphical session to run in; `what()` is one line for the person.
class NoDesktop : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Called once, on the main thread. Throws `NoDesktop`.
Platform makePlatform();

}  // namespace vesk
