#include "e2e/PresenceWindow.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <stdexcept>
#include <utility>

namespace vesk::testing {
namespace {

std::array<Descriptor, 2> makePipe() {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  return {Descriptor(ends[0]), Descriptor(ends[1])};
}

}  // namespace

PresenceWindow::PresenceWindow(std::vector<std::string> environment) {
  auto [commandsOut, commandsIn] = makePipe();
  auto [linesOut, linesIn] = makePipe();
  // Not every shell takes a descriptor of two digits.
  const std::string shell = "exec \"$0\" </proc/self/fd/" + std::to_string(commandsOut.get()) +
                            " >/proc/self/fd/" + std::to_string(linesIn.get());
  process_ = std::make_unique<ChildProcess>(
      std::vector<std::string>{"sh", "-c", shell, VESK_PRESENCE_WINDOW}, std::move(environment),
      std::vector<int>{commandsOut.get(), linesIn.get()});
  in_ = std::move(commandsIn);
  out_ = std::move(linesOut);
  commandsOut.close();
  linesIn.close();
  if (line() != "ready") throw std::runtime_error("the program did not start");
}

void PresenceWindow::send(const std::string& command) {
  const std::string text = command + "\n";
  if (::write(in_.get(), text.data(), text.size()) < 0) throw std::runtime_error("it has ended");
}

std::optional<std::string> PresenceWindow::line(int limitInMilliseconds) {
  std::string text;
  pollfd waiting{out_.get(), POLLIN, 0};
  while (::poll(&waiting, 1, limitInMilliseconds) > 0) {
    char c = 0;
    if (::read(out_.get(), &c, 1) != 1) return std::nullopt;
    if (c == '\n') return text;
    text += c;
  }
  return std::nullopt;
}

}  // namespace vesk::testing
