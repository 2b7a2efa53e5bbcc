// refused: a lambda that is kept and captures this, a reference or a pointer
#include <memory>

#include "platform/macos/DispatchQueue.h"

class Count : public std::enable_shared_from_this<Count> {
 public:
  void later(vesk::mac::DispatchQueue& queue) {
#ifdef MISTAKE
    queue.async([self = this] { ++self->count_; });
#else
    queue.async([self = shared_from_this()] { ++self->count_; });
#endif
  }

 private:
  int count_ = 0;
};

void later(Count& count, vesk::mac::DispatchQueue& queue) { count.later(queue); }
