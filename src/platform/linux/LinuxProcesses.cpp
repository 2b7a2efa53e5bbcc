#include "platform/linux/LinuxProcesses.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <csignal>
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

}  // namespace vesk
