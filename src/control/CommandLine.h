#pragma once

#include <optional>
#include <span>
#include <string>

namespace vesk {

/// What the program says to its command line instead of running.
struct CommandLineAnswer {
  int status = 0;
  std::string output;  ///< for standard output
  std::string error;   ///< for standard error
};

/// `arguments` without the program's own name. Nothing when the program is to run.
std::optional<CommandLineAnswer> commandLineAnswer(std::span<char* const> arguments);

}  // namespace vesk
