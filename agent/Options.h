#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "agent/Command.h"
#include "agent/Console.h"

namespace vesk::agent {

struct Options {
  enum class Life { untilSignal, firstConnection };
  enum class AtEndOfInput { goOn, quit };
  enum class OnProtocolError { count, end };

  std::string socketPath = "/var/run/com.vesk.tovarin.screen.sock";
  std::vector<Command> commands;  ///< in the order in which they are carried out
  std::string recordFile;
  std::string durationsFile;
  Life life = Life::untilSignal;
  AtEndOfInput atEndOfInput = AtEndOfInput::goOn;
  OnProtocolError onProtocolError = OnProtocolError::count;
  std::optional<std::uint16_t> pagePort;  ///< 0 for a free one; none without a page
  Console::Notes notes = Console::Notes::shown;
};

/// What the agent says to its command line instead of running.
struct OptionsAnswer {
  int status = 0;
  std::string output;  ///< for standard output
  std::string error;   ///< one line for standard error
};

/// `arguments` without the program's own name.
std::variant<Options, OptionsAnswer> parseOptions(std::span<const char* const> arguments);

}  // namespace vesk::agent
