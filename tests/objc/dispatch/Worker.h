#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>

namespace vesk::fakes {

/// What stands behind a serial queue here: a thread that runs one work after the other. The true
/// library has a few threads for all queues and none for idle ones, and other ideas of priority.
///
/// Thread: any. Owns: its thread, which outlives `finish` until everything submitted has run.
/// Fails: a wait for itself ends the process.
class Worker : public std::enable_shared_from_this<Worker> {
 public:
  using Work = std::function<void()>;
  using Time = std::chrono::steady_clock::time_point;

  /// The one whose work this thread runs, if it does.
  static Worker* current();

  void start();
  void async(Work work);

  /// Runs `work` on the calling thread, when its turn has come.
  void sync(const Work& work);

  /// Dropped where `finish` comes first.
  void at(Time time, Work work);

  /// Nothing is submitted any more.
  void finish();

  void setSpecific(const void* key, void* value);
  void* specific(const void* key);

 private:
  void run();
  bool takeNext(std::unique_lock<std::mutex>& lock, Work& next);
  void perform(Work work);

  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Work> waiting_;
  std::multimap<Time, Work> later_;
  std::map<const void*, void*> specifics_;
  bool finished_ = false;
};

}  // namespace vesk::fakes
