#include "platform/posix/PosixProcesses.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>

// Not every system's headers declare it.
extern char** environ;  // NOLINT(readability-redundant-declaration)

namespace vesk {

ProcessId PosixProcesses::currentProcessId() const { return ::getpid(); }

std::optional<std::string> PosixProcesses::environment(const std::string& name) const {
  const char* value = std::getenv(name.c_str());
  if (value == nullptr) return std::nullopt;
  return value;
}

void PosixProcesses::runAndWait(const std::string& path,
                                const std::vector<std::string>& arguments) {
  std::vector<char*> argv{const_cast<char*>(path.c_str())};
  for (const auto& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);

  pid_t child = 0;
  if (::posix_spawn(&child, path.c_str(), nullptr, nullptr, argv.data(), environ) != 0) return;
  while (::waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
  }
}

void PosixProcesses::terminate(ProcessId process) { ::kill(process, SIGTERM); }

void PosixProcesses::exit(int status) { std::exit(status); }

}  // namespace vesk
