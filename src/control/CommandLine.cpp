#include "control/CommandLine.h"

#include <string_view>

namespace vesk {
namespace {

constexpr std::string_view help =
    R"(Usage: vesk-remote [--help | --version]

Shows this screen to a support viewer, and lets the viewer control it, when the
privileged agent of this machine asks for it and the person at the screen agrees.
The agent is reached at /var/run/com.vesk.tovarin.screen.sock.

The program runs in the person's graphical session under the job
com.vesk.tovarin.screen. Started any other way it asks for that job to be started,
and ends. It has no settings: every one comes with the agent's messages.

  --help      show this text and end
  --version   show the version and end
)";

constexpr int usageError = 2;

}  // namespace

std::optional<CommandLineAnswer> commandLineAnswer(std::span<char* const> arguments) {
  if (arguments.empty()) return std::nullopt;
  const std::string_view first = arguments.front();
  if (first == "--help") return CommandLineAnswer{0, std::string(help), ""};
  if (first == "--version") return CommandLineAnswer{0, "vesk-remote " VESK_VERSION "\n", ""};
  return CommandLineAnswer{
      usageError, "",
      "vesk-remote: unknown argument '" + std::string(first) + "'; see vesk-remote --help.\n"};
}

}  // namespace vesk
