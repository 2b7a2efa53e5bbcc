#include "agent/server/ProgramState.h"

#include "agent/server/PageMessage.h"

namespace vesk::agent {

void ProgramState::received(const Frame& frame) {
  const auto op = pageMessage::opOf(frame);
  if (op == "hello") {
    clear();
    hello_ = frame;
  }
  if (op == "denied" || op == "fault") session_.reset();
  if ((op == "state" || op == "started") && !isStopped_) session_ = frame;
}

void ProgramState::sent(const Frame& frame) {
  const auto op = pageMessage::opOf(frame);
  if (op == "start") isStopped_ = false;
  if (op == "stop") {
    isStopped_ = true;
    session_.reset();
  }
}

std::vector<Frame> ProgramState::messages() const {
  std::vector<Frame> frames;
  if (hello_) frames.push_back(*hello_);
  if (session_) frames.push_back(*session_);
  return frames;
}

}  // namespace vesk::agent
