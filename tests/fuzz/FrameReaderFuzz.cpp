#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "link/Frame.h"

/// The first byte of the input chooses how the stream is cut into pieces; the rest is the stream.
/// What is read must not depend on the cuts, and frames written again must be the bytes read.
namespace {

using vesk::Bytes;
using vesk::ByteView;

/// Reads all frames of `stream` in pieces of at most `piece` bytes, and writes them down again.
Bytes rewritten(ByteView stream, std::size_t piece) {
  const auto readSome = [&](std::span<std::byte> buffer) -> std::ptrdiff_t {
    const std::size_t count = std::min({piece, buffer.size(), stream.size()});
    std::copy_n(stream.begin(), count, buffer.begin());
    stream = stream.subspan(count);
    return static_cast<std::ptrdiff_t>(count);
  };
  Bytes result;
  while (const auto frame = vesk::readFrame(readSome)) {
    const Bytes again = vesk::frameBytes(static_cast<vesk::FrameKind>(frame->kind), frame->payload);
    result.insert(result.end(), again.begin(), again.end());
  }
  return result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const ByteView stream = std::as_bytes(std::span(data + 1, size - 1));
  const Bytes whole = rewritten(stream, stream.size() + 1);
  if (whole.size() > stream.size() || !std::ranges::equal(whole, stream.first(whole.size()))) {
    std::abort();
  }
  if (rewritten(stream, data[0] % 16 + 1) != whole) std::abort();
  return 0;
}
