#include <array>
#include <cstdint>
#include <cstdlib>

#include "link/Message.h"

/// Every kind of reading of every member that the program knows, on any text. A message that was
/// read can be written, and reads the same again.
namespace {

constexpr std::array keys{"op",          "viewer", "input",   "consent", "fps",
                          "bitrateKbps", "banner", "allowed", "name",    "strip",
                          "thickness",   "t",      "e",       "x",       "y",
                          "b",           "d",      "m",       "c",       "s"};

bool sameMembers(const vesk::Message& one, const vesk::Message& other) {
  for (const auto* key : keys) {
    if (one.string(key) != other.string(key) || one.integer(key) != other.integer(key) ||
        one.boolean(key) != other.boolean(key) ||
        one.object(key).has_value() != other.object(key).has_value()) {
      return false;
    }
    // A Boolean is always an integer too, and text is neither.
    if (one.boolean(key) && !one.integer(key)) return false;
    if (one.string(key) && one.integer(key)) return false;
  }
  return true;
}

/// Writing walks down the nesting, which only a message from outside makes deep.
constexpr std::size_t shallowEnoughToWrite = 4096;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto message = vesk::Message::parse(std::as_bytes(std::span(data, size)));
  if (!message) return 0;
  if (!sameMembers(*message, *message)) std::abort();
  if (size > shallowEnoughToWrite) return 0;
  const auto text = message->serialise();
  if (!text) std::abort();
  const auto again = vesk::Message::parse(std::as_bytes(std::span(*text)));
  if (!again || !sameMembers(*message, *again)) std::abort();
  return 0;
}
