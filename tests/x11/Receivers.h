#pragma once

#include <memory>
#include <string>
#include <vector>

#include "support/TemporaryFolder.h"
#include "support/XServer.h"
#include "x11/Session.h"

namespace vesk::testing {

/// A real program with a text field that has the input focus, and a way to read what it got.
class Receiver {
 public:
  virtual ~Receiver() = default;

  /// The text of the field as far as it has come by now.
  virtual std::string text() = 0;

  /// What of it is selected, and how far it is scrolled, where the program tells.
  virtual std::string selection() { return {}; }
  virtual std::string scroll() { return {}; }

  virtual bool hasEnded() = 0;
  virtual pid_t pid() const = 0;

  /// A place in the window, on the root window.
  virtual Point place(Point inWindow) = 0;

  /// Waits until the text is there. What there is in the end.
  std::string waitFor(const std::string& wanted);
  std::string waitForSelection(const std::string& wanted);
};

/// What is typed into a terminal, up to the last line end.
std::unique_ptr<Receiver> startXterm(Session& session);
/// A GTK entry. Its text comes with Return, which ends it.
std::unique_ptr<Receiver> startZenity(Session& session);
std::unique_ptr<Receiver> startQtEntry(Session& session);
std::unique_ptr<Receiver> startChromium(Session& session);

}  // namespace vesk::testing
