#include "platform/linux/LinuxProcesses.h"

#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdlib>
#include <filesystem>

namespace vesk {
namespace {

namespace fs = std::filesystem;

/// The file name of the executable that runs in a process's /proc folder, or nothing when it is
/// gone or not ours to see. The system marks an executable that was replaced or removed since.
std::optional<std::string> executableName(const fs::path& folder) {
  std::error_code error;
  std::string path = fs::read_symlink(folder / "exe", error).string();
  if (error) return std::nullopt;
  constexpr std::string_view mark = " (deleted)";
  if (path.ends_with(mark)) path.resize(path.size() - mark.size());
  return fs::path(path).filename().string();
}

/// A process's /proc folder belongs to the process's user.
bool belongsToThisUser(const fs::path& folder) {
  struct stat attributes {};
  return ::stat(folder.c_str(), &attributes) == 0 && attributes.st_uid == ::getuid();
}

std::optional<ProcessId> processId(const fs::path& folder) {
  const std::string name = folder.filename().string();
  ProcessId id = 0;
  const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), id);
  if (error != std::errc() || end != name.data() + name.size()) return std::nullopt;
  return id;
}

}  // namespace

ProcessId LinuxProcesses::currentProcessId() const { return ::getpid(); }

std::optional<std::string> LinuxProcesses::environment(const std::string& name) const {
  const char* value = std::getenv(name.c_str());
  if (value == nullptr) return std::nullopt;
  return value;
}

void LinuxProcesses::runAndWait(const std::string& path,
                                const std::vector<std::string>& arguments) {
  std::vector<char*> argv{const_cast<char*>(path.c_str())};
  for (const auto& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);

  pid_t child = 0;
  if (::posix_spawn(&child, path.c_str(), nullptr, nullptr, argv.data(), environ) != 0) return;
  while (::waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
  }
}

std::vector<ProcessId> LinuxProcesses::runningApplications(std::string_view) const {
  std::vector<ProcessId> found;
  const auto own = executableName("/proc/self");
  std::error_code error;
  for (fs::directory_iterator entry("/proc", error), end; !error && entry != end;
       entry.increment(error)) {
    const auto id = processId(entry->path());
    if (!id || !belongsToThisUser(entry->path())) continue;
    if (own && executableName(entry->path()) == own) found.push_back(*id);
  }
  std::ranges::sort(found);
  return found;
}

bool LinuxProcesses::forceTerminate(ProcessId process) { return ::kill(process, SIGKILL) == 0; }

void LinuxProcesses::terminate(ProcessId process) { ::kill(process, SIGTERM); }

void LinuxProcesses::exit(int status) { std::exit(status); }

}  // namespace vesk
