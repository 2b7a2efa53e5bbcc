#include "platform/linux/stream/startThread.h"

#include <pthread.h>

#include <csignal>
#include <system_error>
#include <utility>

namespace vesk::stream {

std::optional<std::thread> startThread(const char* name, std::function<void()> body) {
  // Signals are for the main thread; a thread starts with its maker's mask.
  sigset_t all;
  sigset_t before;
  ::sigfillset(&all);
  ::pthread_sigmask(SIG_SETMASK, &all, &before);
  std::optional<std::thread> thread;
  try {
    thread.emplace([name, body = std::move(body)] {
      ::pthread_setname_np(::pthread_self(), name);
      body();
    });
  } catch (const std::system_error&) {
    thread.reset();
  }
  ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return thread;
}

}  // namespace vesk::stream
