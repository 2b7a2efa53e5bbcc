#include "agent/server/PageMail.h"

#include <sys/eventfd.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace vesk::agent {

PageMail::PageMail() : event_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (!event_) throw std::system_error(errno, std::generic_category(), "eventfd");
}

PageMail::Room PageMail::putFrame(Frame frame) {
  const std::lock_guard lock(mutex_);
  bytes_ += frame.payload.size();
  wishes_.emplace_back(std::move(frame));
  isFull_ = isFull_ || wishes_.size() >= maxWaiting || bytes_ >= maxBytes;
  wake();
  return isFull_ ? Room::none : Room::some;
}

void PageMail::putNote(std::string text) {
  const std::lock_guard lock(mutex_);
  if (wishes_.size() >= maxWaiting) return;
  wishes_.emplace_back(PageNote{std::move(text)});
  wake();
}

PageMail::Taken PageMail::take() {
  const std::lock_guard lock(mutex_);
  eventfd_t count = 0;
  ::eventfd_read(event_.get(), &count);
  bytes_ = 0;
  return {std::exchange(wishes_, {}), std::exchange(isFull_, false)};
}

void PageMail::wake() const { ::eventfd_write(event_.get(), 1); }

}  // namespace vesk::agent
