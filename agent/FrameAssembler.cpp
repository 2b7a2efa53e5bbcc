#include "agent/FrameAssembler.h"

namespace vesk::agent {

void FrameAssembler::append(ByteView bytes) {
  if (brokenBy_) return;
  dropConsumed();
  buffer_.insert(buffer_.end(), bytes.begin(), bytes.end());
}

std::optional<Frame> FrameAssembler::next() {
  if (brokenBy_ || pending() < frameHeaderSize) return std::nullopt;
  const auto at = [this](std::size_t offset) {
    return std::to_integer<std::size_t>(buffer_[start_ + offset]);
  };
  const std::size_t length = at(1) | at(2) << 8 | at(3) << 16 | at(4) << 24;
  if (length > maxFrameSize) {
    brokenBy_ = length;
    return std::nullopt;
  }
  if (pending() - frameHeaderSize < length) return std::nullopt;

  const auto payload = buffer_.begin() + static_cast<std::ptrdiff_t>(start_ + frameHeaderSize);
  Frame frame{static_cast<std::uint8_t>(at(0)),
              Bytes(payload, payload + static_cast<std::ptrdiff_t>(length))};
  start_ += frameHeaderSize + length;
  return frame;
}

/// Only once per arrival, so that many small frames in one read are not each moved to the front.
void FrameAssembler::dropConsumed() {
  buffer_.erase(buffer_.begin(), buffer_.begin() + static_cast<std::ptrdiff_t>(start_));
  start_ = 0;
}

}  // namespace vesk::agent
