#include "support/Sway.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <utility>

#include "platform/Descriptor.h"
#include "support/Patience.h"

namespace vesk::testing {
namespace {

/// A line from a pipe that somebody may never write to.
std::string readLine(int pipe) {
  std::string line;
  pollfd readable{pipe, POLLIN, 0};
  for (char c = 0; ::poll(&readable, 1, patience()) > 0 && ::read(pipe, &c, 1) == 1 && c != '\n';)
    line += c;
  return line;
}

std::string quoted(const std::string& text) { return "'" + text + "'"; }

}  // namespace

Sway::Sway(const std::vector<std::string>& lines, std::vector<std::string> environment) {
  const auto folder = folder_.path();
  const auto ready = folder / "ready";
  if (::mkfifo(ready.c_str(), 0600) != 0) throw std::runtime_error("no pipe");
  const Descriptor pipe(::open(ready.c_str(), O_RDWR | O_CLOEXEC));
  {
    std::ofstream configuration(folder / "config");
    // A program that got no processor while a key was down would repeat it.
    configuration << "output HEADLESS-1 mode 1920x1080@60Hz position 0 0\n"
                  << "input * repeat_rate 0\n"
                  << "xwayland disable\n";
    for (const auto& line : lines) configuration << line << '\n';
    configuration << "exec echo $WAYLAND_DISPLAY $SWAYSOCK > " << ready.string() << '\n';
  }
  // The child's variables belong to it alone, but are read until it is another program.
  environment.insert(
      environment.begin(),
      {"XDG_RUNTIME_DIR=" + folder.string(), "HOME=" + folder.string(), "WLR_BACKENDS=headless",
       "WLR_LIBINPUT_NO_DEVICES=1", "WLR_RENDERER=pixman", "WLR_HEADLESS_OUTPUTS=1"});
  process_ = std::make_unique<ChildProcess>(
      std::vector<std::string>{"unshare", "--user", "--map-user=1000", "--map-group=1000", "sway",
                               "--config", (folder / "config").string()},
      std::move(environment));
  const std::string line = readLine(pipe.get());
  const auto space = line.find(' ');
  if (space == std::string::npos) throw std::runtime_error("sway did not start; is it installed?");
  display_ = line.substr(0, space);
  control_ = line.substr(space + 1);
}

std::vector<std::string> Sway::environment() const {
  return {"XDG_RUNTIME_DIR=" + folder_.path().string(), "WAYLAND_DISPLAY=" + display_};
}

void Sway::enter() const {
  ::setenv("XDG_RUNTIME_DIR", folder_.path().c_str(), 1);
  ::setenv("WAYLAND_DISPLAY", display_.c_str(), 1);
}

void Sway::command(const std::string& command) const { message({"--quiet", quoted(command)}); }

std::string Sway::ask(const std::string& type) const { return message({"--raw", "-t", type}); }

std::string Sway::message(const std::vector<std::string>& arguments) const {
  std::string line = "swaymsg --socket " + control_;
  for (const auto& argument : arguments) line += " " + argument;
  FILE* const pipe = ::popen(line.c_str(), "r");
  if (pipe == nullptr) throw std::runtime_error("cannot run swaymsg");
  std::string answer;
  std::array<char, 4096> part{};
  for (std::size_t count = 0; (count = ::fread(part.data(), 1, part.size(), pipe)) > 0;)
    answer.append(part.data(), count);
  if (::pclose(pipe) != 0) throw std::runtime_error("sway refused: " + line + ": " + answer);
  return answer;
}

}  // namespace vesk::testing
