#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "agent/Connection.h"
#include "agent/Console.h"
#include "agent/LineSplitter.h"
#include "agent/Listener.h"
#include "agent/Options.h"
#include "agent/Page.h"
#include "agent/Recorder.h"
#include "agent/Script.h"
#include "agent/VideoNotes.h"
#include "platform/posix/SignalPipe.h"

namespace vesk::agent {

/// The agent at work: serves one program after the other, prints what each sends and carries out
/// the commands, until something ends it. A program that comes while one is served waits its turn.
///
/// Thread: one, which waits nowhere but in `poll`. Owns: the listener, the connection, the
/// recording. Fails: throws std::runtime_error with a sentence when the system refuses what the
/// agent cannot do without.
class Session : private ScriptActions {
 public:
  /// `console` outlives the session. Standard input is read from `input`, which stays the caller's.
  Session(const Options& options, Console& console, int input);

  /// Runs to the end: the exit status.
  int run();

 private:
  // One turn of the loop, in this order.
  void runScript(TimePoint now);
  void waitForEvents(TimePoint now);
  int timeout(TimePoint now) const;
  bool takesLines() const;

  void acceptProgram();
  void readProgram();
  void handleFrame(const Frame& frame);
  void handleVideo(const AccessUnit& unit);
  void protocolError(const std::string& text);
  void loseProgram(const std::string& reason);
  void readInput();
  void takeLines();
  void noteVideo();
  bool takesWishes() const;
  void takeWishes();

  // ScriptActions
  bool isConnected() const override { return connection_ != nullptr; }
  void send(ByteView bytes) override;
  void disconnect() override;
  void stopReading() override;
  void startReading() override;
  bool allSent() const override { return !connection_ || connection_->allSent(); }
  void showHelp() override;
  void reportError(const std::string& text) override;

  const Options options_;
  Console& console_;
  int input_;
  SignalPipe signals_;
  Listener listener_;
  Recorder recorder_;  ///< made last: an agent that cannot listen empties nobody's recording
  std::unique_ptr<Page> page_;  ///< null without one
  std::unique_ptr<Connection> connection_;
  Script script_;
  LineSplitter lines_;
  VideoNotes video_;
  std::uint64_t protocolErrors_ = 0;
  bool hasServed_ = false;  ///< whether any program has connected yet
  bool isInputOpen_ = true;
  std::optional<int> status_;  ///< once the end is decided
};

}  // namespace vesk::agent
