#include <cstdlib>
#include <span>
#include <variant>

#include "agent/server/AskedSession.h"
#include "agent/server/HeldInput.h"
#include "agent/server/PageMessage.h"

using namespace vesk;
using namespace vesk::agent;

/// What a page may send: its key, then frames, of which is kept what is held.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto bytes = std::as_bytes(std::span(data, size));
  pageMessage::parseKey(bytes);
  const auto parsed = pageMessage::parseFrame(bytes);
  const auto* frame = std::get_if<Frame>(&parsed);
  if (frame == nullptr) return 0;
  HeldInput held;
  AskedSession session;
  held.sent(*frame);
  session.sent(*frame);
  // What lets go is a message that a page could have sent, and leaves nothing to let go of.
  for (const auto& release : held.takeReleases()) {
    if (!std::holds_alternative<Frame>(pageMessage::parseFrame(pageMessage::ofFrame(release)))) {
      std::abort();
    }
  }
  if (!held.takeReleases().empty()) std::abort();
  return 0;
}
