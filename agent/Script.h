#pragma once

#include <deque>
#include <optional>
#include <string>

#include "agent/Command.h"
#include "agent/Mailbox.h"
#include "agent/VideoNotes.h"

namespace vesk::agent {

/// What the commands act on.
class ScriptActions {
 public:
  virtual ~ScriptActions() = default;

  virtual bool isConnected() const = 0;
  /// The rest is called only while a program is connected, except `allSent` and the last two.
  virtual void send(ByteView bytes) = 0;
  virtual void disconnect() = 0;
  virtual void stopReading() = 0;
  virtual void startReading() = 0;
  /// Whether the program has taken everything; true when there is none.
  virtual bool allSent() const = 0;
  virtual void showHelp() = 0;
  virtual void reportError(const std::string& text) = 0;
};

/// Carries commands out in their order, each when its time has come.
///
/// Thread: one, that of `actions`, which outlives the script. Owns: the commands that are still to
/// come. Time comes with the calls; `run` is called again when `due` has come and whenever
/// something happened. Fails: a command that cannot be carried out is reported and passed over.
class Script {
 public:
  enum class Result { goOn, quit, waitTimedOut };

  explicit Script(ScriptActions& actions) : actions_(actions) {}

  void append(Command command) { commands_.push_back(std::move(command)); }

  /// A control message with that "op" has come.
  void received(std::string op) { mailbox_.add(std::move(op)); }

  /// Carries out all that can be now.
  Result run(TimePoint now);

  /// When `run` has something to do although nothing happened.
  std::optional<TimePoint> due() const { return due_; }

  bool isDone() const { return commands_.empty(); }

 private:
  enum class Step { done, later, quit, waitTimedOut };

  Step carryOut(const Send& command, TimePoint now);
  Step carryOut(const SendFile& command, TimePoint now);
  Step carryOut(const Move& command, TimePoint now);
  Step carryOut(const Click& command, TimePoint now);
  Step carryOut(const Wait& command, TimePoint now);
  Step carryOut(const Pause& command, TimePoint now);
  Step carryOut(const Disconnect& command, TimePoint now);
  Step carryOut(const StopReading& command, TimePoint now);
  Step carryOut(const StartReading& command, TimePoint now);
  Step carryOut(const Help& command, TimePoint now);
  Step carryOut(const Quit& command, TimePoint now);

  Step sendWhenConnected(ByteView bytes);
  bool isOver(TimePoint now, std::chrono::milliseconds limit);
  bool mayClose(TimePoint now);

  ScriptActions& actions_;
  std::deque<Command> commands_;
  Mailbox mailbox_;
  requests::Position pointer_;
  std::optional<TimePoint> due_;  ///< of the first command, once it has begun to wait
};

}  // namespace vesk::agent
