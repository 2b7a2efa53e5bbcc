#include "platform/linux/stream/SampleOutlet.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <chrono>
#include <utility>

namespace vesk::stream {
namespace {

/// Whoever shows samples does so by a clock of its own, at most this far apart as a rule. A sample
/// of every picture would wake it up a second time each.
constexpr std::chrono::milliseconds worthOneWakeUp{50};

}  // namespace

SampleOutlet::SampleOutlet() : stopped_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

void SampleOutlet::connect(Output output, SerialQueue& queue) {
  output_ = std::move(output);
  queue_ = &queue;
}

void SampleOutlet::stop(Completion completion) {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
    if (!ended_ && completion) atTheEnd_ = std::exchange(completion, nullptr);
  }
  const std::uint64_t one = 1;
  [[maybe_unused]] const auto ignored = ::write(stopped_.get(), &one, sizeof one);
  if (completion) completion(std::nullopt);
}

bool SampleOutlet::isStopped() const {
  const std::lock_guard lock(mutex_);
  return stopping_;
}

void SampleOutlet::deliver(StreamSample sample) {
  const std::lock_guard lock(mutex_);
  if (stopping_ || queue_ == nullptr) return;
  queue_->asyncWithin(worthOneWakeUp, [output = output_, sample = std::move(sample)] {
    output(sample, StreamOutputType::screen);
  });
}

void SampleOutlet::end() {
  Completion atTheEnd;
  {
    const std::lock_guard lock(mutex_);
    ended_ = true;
    atTheEnd = std::exchange(atTheEnd_, nullptr);
  }
  if (atTheEnd) atTheEnd(std::nullopt);
}

}  // namespace vesk::stream
