#include "agent/server/AskedSession.h"

#include "agent/server/PageMessage.h"

namespace vesk::agent {

void AskedSession::sent(const Frame& frame) {
  const auto op = pageMessage::opOf(frame);
  if (op != "start" && op != "stop") return;
  isAsked_ = op == "start";
  isRefused_ = false;
}

void AskedSession::received(const Frame& frame) {
  const auto op = pageMessage::opOf(frame);
  if (op == "denied" || op == "fault") isRefused_ = true;
  if (op == "state" || op == "started") isRefused_ = false;
}

}  // namespace vesk::agent
