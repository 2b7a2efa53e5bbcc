#include "agent/Script.h"

#include <cerrno>
#include <fstream>
#include <iterator>
#include <system_error>
#include <utility>

namespace vesk::agent {
namespace {

using namespace std::chrono_literals;

/// How long a program that does not read may hold up the end of its connection.
constexpr auto closingLimit = 2s;

std::optional<std::string> contents(const std::string& path) {
  errno = 0;
  std::ifstream file(path, std::ios::binary);
  // A folder opens like a file and fails only when it is read.
  if (!file || file.peek() == std::ifstream::traits_type::eof()) {
    if (errno != 0) return std::nullopt;
    return std::string();
  }
  return std::string(std::istreambuf_iterator<char>(file), {});
}

}  // namespace

Script::Result Script::run(TimePoint now) {
  while (!commands_.empty()) {
    const Step step =
        std::visit([&](const auto& command) { return carryOut(command, now); }, commands_.front());
    if (step == Step::later) return Result::goOn;
    commands_.pop_front();
    due_.reset();
    if (step == Step::quit) return Result::quit;
    if (step == Step::waitTimedOut) return Result::waitTimedOut;
  }
  return Result::goOn;
}

Script::Step Script::carryOut(const Send& command, TimePoint /*now*/) {
  return sendWhenConnected(command.bytes);
}

Script::Step Script::carryOut(const SendFile& command, TimePoint /*now*/) {
  if (!actions_.isConnected()) return Step::later;
  const auto payload = contents(command.path);
  if (!payload) {
    actions_.reportError("cannot read '" + command.path +
                         "': " + std::generic_category().message(errno));
    return Step::done;
  }
  return sendWhenConnected(frameOfKind(command.kind, bytesOf(*payload)));
}

Script::Step Script::carryOut(const Move& command, TimePoint /*now*/) {
  pointer_ = command.position;
  return sendWhenConnected(inputFrame(requests::move(pointer_)));
}

Script::Step Script::carryOut(const Click& command, TimePoint /*now*/) {
  Bytes bytes = inputFrame(requests::button(command.button, requests::Stroke::down, pointer_));
  const Bytes up = inputFrame(requests::button(command.button, requests::Stroke::up, pointer_));
  bytes.insert(bytes.end(), up.begin(), up.end());
  return sendWhenConnected(bytes);
}

Script::Step Script::carryOut(const Wait& command, TimePoint now) {
  if (mailbox_.take(command.op) == Mailbox::Found::yes) return Step::done;
  if (!isOver(now, command.limit)) return Step::later;
  actions_.reportError("no '" + command.op + "' has come within " +
                       std::to_string(command.limit.count()) + " ms");
  return Step::waitTimedOut;
}

Script::Step Script::carryOut(const Pause& command, TimePoint now) {
  return isOver(now, command.length) ? Step::done : Step::later;
}

Script::Step Script::carryOut(const Disconnect& /*command*/, TimePoint now) {
  if (!actions_.isConnected()) return Step::done;
  if (!mayClose(now)) return Step::later;
  actions_.disconnect();
  // A wait behind this is for the next connection's messages.
  mailbox_.clear();
  return Step::done;
}

Script::Step Script::carryOut(const StopReading& /*command*/, TimePoint /*now*/) {
  if (!actions_.isConnected()) return Step::later;
  actions_.stopReading();
  return Step::done;
}

/// Without a program there is nothing that is not read.
Script::Step Script::carryOut(const StartReading& /*command*/, TimePoint /*now*/) {
  if (actions_.isConnected()) actions_.startReading();
  return Step::done;
}

Script::Step Script::carryOut(const Help& /*command*/, TimePoint /*now*/) {
  actions_.showHelp();
  return Step::done;
}

Script::Step Script::carryOut(const Quit& /*command*/, TimePoint now) {
  return mayClose(now) ? Step::quit : Step::later;
}

Script::Step Script::sendWhenConnected(ByteView bytes) {
  if (!actions_.isConnected()) return Step::later;
  actions_.send(bytes);
  return Step::done;
}

/// Whether the first command has waited that long; the first time it is asked, the wait begins.
bool Script::isOver(TimePoint now, std::chrono::milliseconds limit) {
  if (!due_) due_ = now + limit;
  return now >= *due_;
}

bool Script::mayClose(TimePoint now) { return actions_.allSent() || isOver(now, closingLimit); }

}  // namespace vesk::agent
