#include "agent/Options.h"

#include <array>
#include <functional>
#include <limits>
#include <string_view>

#include "agent/CommandWords.h"
#include "agent/ExitStatus.h"
#include "platform/UnixSocket.h"

namespace vesk::agent {
namespace {

constexpr std::string_view usage =
    R"(Usage: vesk-agent [OPTION]...

Stands in for the privileged agent: waits for the program at a socket, prints
every control message that it sends as one line of JSON on standard output, and
sends it what it reads, line by line, from standard input. Notes about the
connection and the video go to standard error.

  --socket PATH             listen at PATH instead of
                            /var/run/com.vesk.tovarin.screen.sock
  --send LINE               carry LINE out once the first program has connected,
                            before standard input; may be given many times
  --record FILE             write the video to FILE as a raw H.264 stream
  --record-durations FILE   write a line per access unit to FILE: its duration in
                            ticks of 90 kHz, its size in bytes, key or delta
  --page[=PORT]             serve a viewer's page to browsers of this machine, at
                            PORT or at a free one, and print its address
  --once                    end when the first connection has ended
  --quit-at-end             end when standard input has ended and every command
                            is carried out
  --strict                  end with status 4 when the program breaks the protocol
  --quiet                   say nothing on standard error but errors
  --help                    show this text and end
  --version                 show the version and end

Commands, for --send and for standard input:
)";

constexpr std::string_view exits = R"(
The agent ends with 0, or with 1 when the system refuses something, 2 when an
argument is wrong, 3 when a wait has timed out, 4 for --strict.
)";

OptionsAnswer refusal(const std::string& text) {
  return {exitStatus::usageError, "", "vesk-agent: " + text + "; see vesk-agent --help.\n"};
}

/// An option that stands alone.
struct Flag {
  std::string_view name;
  void (*apply)(Options&);
};

constexpr auto flags = std::to_array<Flag>({
    {"--once", [](Options& options) { options.life = Options::Life::firstConnection; }},
    {"--quit-at-end", [](Options& options) { options.atEndOfInput = Options::AtEndOfInput::quit; }},
    {"--strict", [](Options& options) { options.onProtocolError = Options::OnProtocolError::end; }},
    {"--quiet", [](Options& options) { options.notes = Console::Notes::hidden; }},
});

/// Why the value of an option is refused; nothing when it was taken.
using Refused = std::optional<std::string>;

Refused applySocket(Options& options, std::string_view value) {
  if (value.size() > unixSocket::maxPathLength) {
    return "the path of --socket is longer than " + std::to_string(unixSocket::maxPathLength) +
           " bytes";
  }
  options.socketPath = value;
  return std::nullopt;
}

Refused applySend(Options& options, std::string_view value) {
  const auto parsed = parseCommand(value);
  if (!parsed) return "--send takes a command";
  if (const auto* error = std::get_if<CommandError>(&*parsed)) return "--send: " + error->text;
  options.commands.push_back(std::get<Command>(*parsed));
  return std::nullopt;
}

Refused applyRecord(Options& options, std::string_view value) {
  options.recordFile = value;
  return std::nullopt;
}

Refused applyDurations(Options& options, std::string_view value) {
  options.durationsFile = value;
  return std::nullopt;
}

/// An option with the argument behind it as its value.
struct Setting {
  std::string_view name;
  Refused (*apply)(Options&, std::string_view value);
};

constexpr auto settings = std::to_array<Setting>({
    {"--socket", applySocket},
    {"--send", applySend},
    {"--record", applyRecord},
    {"--record-durations", applyDurations},
});

/// The port in "--page" or "--page=PORT"; nothing when the argument is neither.
std::optional<Refused> applyPage(Options& options, std::string_view argument) {
  constexpr std::string_view name = "--page";
  if (!argument.starts_with(name)) return std::nullopt;
  argument.remove_prefix(name.size());
  if (argument.empty()) {
    options.pagePort = 0;
    return Refused();
  }
  if (argument.front() != '=') return std::nullopt;
  const auto port = words::integer(argument.substr(1));
  if (!port || *port < 0 || *port > std::numeric_limits<std::uint16_t>::max()) {
    return Refused("--page takes a port from 0 to 65535");
  }
  options.pagePort = static_cast<std::uint16_t>(*port);
  return Refused();
}

bool applyFlag(Options& options, std::string_view name) {
  for (const auto& flag : flags) {
    if (flag.name != name) continue;
    flag.apply(options);
    return true;
  }
  return false;
}

const Setting* findSetting(std::string_view name) {
  for (const auto& setting : settings) {
    if (setting.name == name) return &setting;
  }
  return nullptr;
}

}  // namespace

std::variant<Options, OptionsAnswer> parseOptions(std::span<const char* const> arguments) {
  Options options;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string_view name = arguments[i];
    if (name == "--help") {
      return OptionsAnswer{0, std::string(usage) + std::string(commandHelp()) + std::string(exits),
                           ""};
    }
    if (name == "--version") return OptionsAnswer{0, "vesk-agent " VESK_VERSION "\n", ""};
    if (applyFlag(options, name)) continue;
    if (const auto taken = applyPage(options, name)) {
      if (*taken) return refusal(**taken);
      continue;
    }

    const Setting* setting = findSetting(name);
    if (setting == nullptr) return refusal("unknown argument '" + std::string(name) + "'");
    ++i;
    if (i == arguments.size() || std::string_view(arguments[i]).empty()) {
      return refusal(std::string(name) + " needs a value behind it");
    }
    if (const auto refused = setting->apply(options, arguments[i])) return refusal(*refused);
  }
  return options;
}

}  // namespace vesk::agent
