#include <unistd.h>

#include <exception>
#include <iostream>
#include <span>

#include "agent/Console.h"
#include "agent/ExitStatus.h"
#include "agent/Options.h"
#include "agent/Session.h"

int main(int argc, char* argv[]) {
  using namespace vesk::agent;
  const std::span<const char* const> arguments(argv, static_cast<std::size_t>(argc));
  const auto parsed = parseOptions(arguments.subspan(argc > 0 ? 1 : 0));
  if (const auto* answer = std::get_if<OptionsAnswer>(&parsed)) {
    std::cout << answer->output << std::flush;
    std::cerr << answer->error;
    return answer->status;
  }
  const auto& options = std::get<Options>(parsed);
  Console console(std::cout, std::cerr, options.notes);
  try {
    return Session(options, console, STDIN_FILENO).run();
  } catch (const std::exception& error) {
    console.error(error.what());
    return exitStatus::systemError;
  }
}
