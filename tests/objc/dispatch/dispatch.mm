#import <Foundation/Foundation.h>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "objc/dispatch/MainLoop.h"
#include "objc/dispatch/Worker.h"

using vesk::fakes::MainLoop;
using vesk::fakes::Worker;
using Nanoseconds = std::chrono::nanoseconds;

/// A serial queue. Whatever it has yet to run keeps its thread, not this object.
@interface VeskQueue : NSObject <OS_dispatch_queue>
@end

/// The main queue is part of the program.
@interface VeskMainQueue : NSObject <OS_dispatch_queue>
@end

/// A timer's or a descriptor's news on a queue.
@interface VeskSource : NSObject <OS_dispatch_source>
@end

@implementation VeskQueue {
 @public
  std::shared_ptr<Worker> worker_;
}
- (instancetype)init {
  self = [super init];
  worker_ = std::make_shared<Worker>();
  worker_->start();
  return self;
}
- (void)dealloc {
  worker_->finish();
}
@end

@implementation VeskMainQueue
@end

extern "C" {
extern char classOfTheMainQueue asm("._OBJC_CLASS_VeskMainQueue");
struct dispatch_queue_s {
  void* isa;
};
struct dispatch_source_type_s {
  char unused;
};
struct dispatch_queue_s _dispatch_main_q = {&classOfTheMainQueue};
const struct dispatch_source_type_s _dispatch_source_type_read {};
const struct dispatch_source_type_s _dispatch_source_type_timer {};
}

namespace {

/// What of a source outlives it: a firing that has begun.
struct SourceState {
  dispatch_block_t handler = nil;  ///< once started, on the queue alone
  std::atomic<bool> cancelled = false;
  Worker::Time next;
  Nanoseconds interval{};
};

void fire(Worker& worker, const std::weak_ptr<SourceState>& weak);

void arm(Worker& worker, const std::shared_ptr<SourceState>& state) {
  worker.at(state->next, [&worker, weak = std::weak_ptr(state)] { fire(worker, weak); });
}

/// Firings that were missed are not made up for.
void fire(Worker& worker, const std::weak_ptr<SourceState>& weak) {
  const auto state = weak.lock();
  if (state == nullptr || state->cancelled) return;
  if (const dispatch_block_t handler = state->handler) handler();
  const auto now = Worker::Time::clock::now();
  const auto missed = std::max<std::int64_t>(0, (now - state->next) / state->interval);
  state->next += (missed + 1) * state->interval;
  if (!state->cancelled) arm(worker, state);
}

/// A thread of its own looks whether there is something to read.
void watch(const std::shared_ptr<Worker>& worker, const std::shared_ptr<SourceState>& state,
           int descriptor, int end) {
  std::thread([worker, state, descriptor, end] {
    for (;;) {
      pollfd watched[] = {{descriptor, POLLIN, 0}, {end, POLLIN, 0}};
      ::poll(watched, 2, -1);
      if (state->cancelled) break;
      worker->sync([&] {
        const dispatch_block_t handler = state->handler;
        if (!state->cancelled && handler != nil) handler();
      });
    }
    ::close(end);
  }).detach();
}

/// False where it was cancelled before. `end` tells the thread that watches a descriptor.
bool cancel(SourceState& state, int end) {
  if (state.cancelled.exchange(true)) return false;
  const std::uint64_t one = 1;
  if (end >= 0) (void)!::write(end, &one, sizeof one);
  return true;
}

}  // namespace

@implementation VeskSource {
 @public
  VeskQueue* queue_;
  std::shared_ptr<SourceState> state_;
  bool isTimer_;
  bool active_;
  int descriptor_;
  int end_;
}
- (void)dealloc {
  if (!active_) {
    // The library ends the process as well.
    std::fputs("a source was let go of that had never been activated\n", stderr);
    std::abort();
  }
  cancel(*state_, end_);
}
@end

namespace {

Worker& workerOf(dispatch_queue_t queue) { return *((VeskQueue*)queue)->worker_; }

bool isMain(dispatch_queue_t queue) { return queue == dispatch_get_main_queue(); }

}  // namespace

dispatch_queue_t dispatch_queue_create(const char*, dispatch_queue_attr_t) {
  return (dispatch_queue_t)[VeskQueue new];
}

void dispatch_queue_set_specific(dispatch_queue_t queue, const void* key, void* context,
                                 dispatch_function_t) {
  workerOf(queue).setSpecific(key, context);
}

void* dispatch_get_specific(const void* key) {
  return Worker::current() == nullptr ? nullptr : Worker::current()->specific(key);
}

void dispatch_async_f(dispatch_queue_t queue, void* context, dispatch_function_t work) {
  if (isMain(queue)) return MainLoop::only().async([context, work] { work(context); });
  workerOf(queue).async([context, work] { work(context); });
}

void dispatch_sync_f(dispatch_queue_t queue, void* context, dispatch_function_t work) {
  workerOf(queue).sync([context, work] { work(context); });
}

void dispatch_after_f(dispatch_time_t when, dispatch_queue_t queue, void* context,
                      dispatch_function_t work) {
  const Worker::Time time{Nanoseconds(when)};
  if (!isMain(queue)) return workerOf(queue).at(time, [context, work] { work(context); });
  MainLoop::only().after(time - Worker::Time::clock::now(), [context, work] { work(context); });
}

dispatch_time_t dispatch_time(dispatch_time_t, int64_t nanoseconds) {
  const auto now = Worker::Time::clock::now().time_since_epoch();
  return static_cast<dispatch_time_t>((now + Nanoseconds(nanoseconds)).count());
}

dispatch_source_t dispatch_source_create(dispatch_source_type_t type, uintptr_t handle, uintptr_t,
                                         dispatch_queue_t queue) {
  VeskSource* const source = [VeskSource new];
  source->queue_ = (VeskQueue*)queue;
  source->state_ = std::make_shared<SourceState>();
  source->isTimer_ = type == DISPATCH_SOURCE_TYPE_TIMER;
  source->descriptor_ = static_cast<int>(handle);
  source->end_ = source->isTimer_ ? -1 : ::eventfd(0, EFD_CLOEXEC);
  return (dispatch_source_t)source;
}

void dispatch_source_set_event_handler(dispatch_source_t source, dispatch_block_t handler) {
  ((VeskSource*)source)->state_->handler = handler;
}

void dispatch_source_set_timer(dispatch_source_t source, dispatch_time_t start, uint64_t interval,
                               uint64_t) {
  const auto& state = ((VeskSource*)source)->state_;
  state->next = Worker::Time(Nanoseconds(start));
  state->interval = Nanoseconds(interval);
}

/// It lets go of what it calls, on its queue.
void dispatch_source_cancel(dispatch_source_t given) {
  VeskSource* const source = (VeskSource*)given;
  const auto state = source->state_;
  if (!cancel(*state, source->active_ ? source->end_ : -1)) return;
  source->queue_->worker_->async([state] { state->handler = nil; });
}

void dispatch_activate(dispatch_object_t object) {
  VeskSource* const source = (VeskSource*)object;
  if (source->active_) return;
  source->active_ = true;
  if (source->state_->cancelled) return;
  if (source->isTimer_) return arm(*source->queue_->worker_, source->state_);
  watch(source->queue_->worker_, source->state_, source->descriptor_, source->end_);
}
