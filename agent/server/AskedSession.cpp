#include "agent/server/AskedSession.h"

#include "link/Message.h"

namespace vesk::agent {

void AskedSession::sent(const Frame& frame) {
  if (frameKind(frame.kind) != FrameKind::control) return;
  const auto message = Message::parse(frame.payload);
  if (!message) return;
  const auto op = message->string("op");
  if (op == "start") isWanted_ = true;
  if (op == "stop") isWanted_ = false;
}

}  // namespace vesk::agent
