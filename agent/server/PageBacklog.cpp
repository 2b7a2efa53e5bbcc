#include "agent/server/PageBacklog.h"

#include "agent/Command.h"
#include "agent/server/PageMessage.h"

namespace vesk::agent {

void PageBacklog::addVideo(Bytes message, Picture picture, TimePoint now) {
  if (flow_ == Flow::going && isBehind(message.size(), now)) stop();
  // A key frame that comes while the page still has older pictures to read would be old as well by
  // the time it is read.
  const bool mayGoOn = picture == Picture::key && units_.empty();
  if (flow_ != Flow::going && !mayGoOn) {
    if (flow_ == Flow::dropping) ++dropped_;
    return;
  }
  if (flow_ != Flow::going) resume();
  units_.push_back({now, message.size()});
  videoBytes_ += message.size();
  items_.push_back({Item::Kind::video, std::move(message)});
}

void PageBacklog::loseVideo() {
  if (flow_ == Flow::going) stop();
  if (flow_ == Flow::dropping) ++dropped_;
}

void PageBacklog::addMessage(Bytes message) {
  otherBytes_ += message.size();
  items_.push_back({Item::Kind::message, std::move(message)});
}

void PageBacklog::addText(const std::string& text) {
  const auto bytes = bytesOf(text);
  otherBytes_ += bytes.size();
  items_.push_back({Item::Kind::text, Bytes(bytes.begin(), bytes.end())});
}

std::optional<PageBacklog::Item> PageBacklog::next() {
  if (items_.empty()) return std::nullopt;
  Item item = std::move(items_.front());
  items_.pop_front();
  if (item.kind == Item::Kind::video) {
    ++written_;
  } else {
    otherBytes_ -= item.bytes.size();
  }
  return item;
}

void PageBacklog::arrived(std::uint64_t units) {
  // A page may claim anything, but not more than was written.
  for (; arrived_ < units && arrived_ < written_; ++arrived_) {
    videoBytes_ -= units_.front().size;
    units_.pop_front();
  }
}

bool PageBacklog::takeKeyFrameWish(TimePoint now) {
  constexpr std::chrono::seconds pause{1};
  if (flow_ == Flow::going || !units_.empty()) return false;
  if (asked_ && now - *asked_ < pause) return false;
  asked_ = now;
  return true;
}

bool PageBacklog::isBehind(std::size_t size, TimePoint now) const {
  if (units_.empty()) return false;
  return now - units_.front().came > patience || videoBytes_ + size > maxVideo;
}

void PageBacklog::stop() {
  flow_ = Flow::dropping;
  const auto count =
      std::erase_if(items_, [](const Item& item) { return item.kind == Item::Kind::video; });
  dropped_ += count;
  for (std::size_t i = 0; i < count; ++i) {
    videoBytes_ -= units_.back().size;
    units_.pop_back();
  }
}

void PageBacklog::resume() {
  if (flow_ == Flow::dropping) addText(pageMessage::ofDropped(dropped_));
  resumedAfter_ += std::exchange(dropped_, 0);
  flow_ = Flow::going;
  asked_.reset();
}

}  // namespace vesk::agent
