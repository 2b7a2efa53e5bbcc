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
namespace {

/// How children are started: with what this process has made of signals undone.
class SpawnAttributes {
 public:
  SpawnAttributes() {
    sigset_t back;
    // Macros on some systems, which take no scope.
    sigemptyset(&back);
    sigaddset(&back, SIGPIPE);
    ::posix_spawnattr_init(&attributes_);
    ::posix_spawnattr_setsigdefault(&attributes_, &back);
    ::posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGDEF);
  }
  ~SpawnAttributes() { ::posix_spawnattr_destroy(&attributes_); }
  SpawnAttributes(const SpawnAttributes&) = delete;
  SpawnAttributes& operator=(const SpawnAttributes&) = delete;

  const posix_spawnattr_t* get() const { return &attributes_; }

 private:
  posix_spawnattr_t attributes_{};
};

}  // namespace

void ignoreBrokenPipes() { ::signal(SIGPIPE, SIG_IGN); }

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

  const SpawnAttributes attributes;
  pid_t child = 0;
  if (::posix_spawn(&child, path.c_str(), nullptr, attributes.get(), argv.data(), environ) != 0) {
    return;
  }
  // A signal cuts the wait short only where somebody has taken it: it asks for this process's end.
  ::waitpid(child, nullptr, 0);
}

void PosixProcesses::terminate(ProcessId process) {
  if (isOneProcess(process)) ::kill(process, SIGTERM);
}

void PosixProcesses::exit(int status) { std::exit(status); }

}  // namespace vesk
