#include <cstdint>

#include "control/ControlRequest.h"
#include "link/Message.h"

/// A control payload from the wire up to the request that it makes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto message = vesk::Message::parse(std::as_bytes(std::span(data, size)));
  if (message) static_cast<void>(vesk::controlRequest(*message));
  return 0;
}
