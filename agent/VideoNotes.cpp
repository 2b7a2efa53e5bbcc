#include "agent/VideoNotes.h"

#include "agent/KeyPicture.h"

namespace vesk::agent {

void VideoNotes::add(const AccessUnit& unit, TimePoint now) {
  if (!due_) due_ = now + std::chrono::seconds(1);
  ++units_;
  bytes_ += unit.bytes.size();
  hasKeyFrame_ = hasKeyFrame_ || isKeyPicture(unit.bytes);
}

std::optional<std::string> VideoNotes::take() {
  if (!due_) return std::nullopt;
  std::string note = "video: " + std::to_string(units_) +
                     (units_ == 1 ? " access unit, " : " access units, ") + std::to_string(bytes_) +
                     " bytes" + (hasKeyFrame_ ? ", key frame" : "");
  *this = VideoNotes();
  return note;
}

}  // namespace vesk::agent
