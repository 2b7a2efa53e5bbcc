#include "platform/posix/SignalPipe.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <system_error>

#include "platform/Processes.h"

namespace vesk {
namespace {

/// A signal handler is given nothing but the signal's number, so the way to the pipe has to stand
/// where it can find it.
std::atomic<int> pipeForSignals = -1;
static_assert(std::atomic<int>::is_always_lock_free);

constexpr std::array endingSignals{SIGINT, SIGTERM, SIGHUP};

void handle(int /*signal*/) {
  const int error = errno;
  const char byte = 0;
  // A full pipe holds a signal already.
  [[maybe_unused]] const auto written = ::write(pipeForSignals, &byte, 1);
  errno = error;
}

void setHandler(int signal, void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  ::sigaction(signal, &action, nullptr);
}

}  // namespace

SignalPipe::SignalPipe() {
  std::array<int, 2> ends{};
  if (::pipe(ends.data()) != 0) throw std::system_error(errno, std::generic_category(), "pipe");
  in_ = Descriptor(ends[0]);
  out_ = Descriptor(ends[1]);
  for (const int end : ends) {
    ::fcntl(end, F_SETFD, FD_CLOEXEC);
    ::fcntl(end, F_SETFL, O_NONBLOCK);
  }
  pipeForSignals = out_.get();
  for (const int signal : endingSignals) setHandler(signal, handle);
  ignoreBrokenPipes();
}

SignalPipe::~SignalPipe() {
  for (const int signal : endingSignals) setHandler(signal, SIG_DFL);
  pipeForSignals = -1;
}

}  // namespace vesk
