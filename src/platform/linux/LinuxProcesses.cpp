#include "platform/linux/LinuxProcesses.h"

#include <sys/auxv.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

namespace vesk {
namespace {

namespace fs = std::filesystem;

/// The system marks a file that was replaced or removed since.
std::string fileName(std::string path) {
  constexpr std::string_view mark = " (deleted)";
  if (path.ends_with(mark)) path.resize(path.size() - mark.size());
  return fs::path(path).filename().string();
}

/// The file name of the executable that runs in a process's /proc folder, or nothing when it is
/// gone or not ours to see.
std::optional<std::string> executableName(const fs::path& folder) {
  std::error_code error;
  const fs::path path = fs::read_symlink(folder / "exe", error);
  if (error) return std::nullopt;
  return fileName(path.string());
}

/// A stretch of a process's memory that shows a file.
struct Mapping {
  std::uintptr_t first = 0;
  std::uintptr_t end = 0;
  bool isCode = false;
  std::string file;
};

std::vector<Mapping> mappings(const fs::path& folder) {
  std::vector<Mapping> found;
  std::ifstream maps(folder / "maps");
  for (std::string line; std::getline(maps, line);) {
    std::istringstream fields(line);
    Mapping mapping;
    char dash = 0;
    std::string access;
    std::string passedOver;
    fields >> std::hex >> mapping.first >> dash >> mapping.end >> access;
    for (int field = 0; field < 3; ++field) fields >> passedOver;  // offset, device, inode
    fields >> std::ws;
    std::getline(fields, mapping.file);
    mapping.file = fileName(mapping.file);
    mapping.isCode = access.find('x') != std::string::npos;
    if (!mapping.file.empty()) found.push_back(std::move(mapping));
  }
  return found;
}

/// Tells copies of this program from everything else.
class OwnProgram {
 public:
  OwnProgram() {
    const auto own = mappings("/proc/self");
    const auto fileAt = [&](std::uintptr_t address) -> std::optional<std::string> {
      const auto found = std::ranges::find_if(
          own, [&](const Mapping& each) { return each.first <= address && address < each.end; });
      return found == own.end() ? std::nullopt : std::optional(found->file);
    };
    name_ = fileAt(reinterpret_cast<std::uintptr_t>(&executableName));
    const auto loader = static_cast<std::uintptr_t>(::getauxval(AT_BASE));
    loader_ = loader == 0 ? executableName("/proc/self") : fileAt(loader);
  }

  /// A program that was given to the dynamic loader as an argument has the loader for its
  /// executable, like any other that was started so: then only its code tells what it is.
  bool runsIn(const fs::path& folder) const {
    const auto executable = executableName(folder);
    if (!name_ || !executable) return false;
    if (*executable == name_) return true;
    return *executable == loader_ &&
           std::ranges::any_of(mappings(folder), [this](const Mapping& each) {
             return each.isCode && each.file == name_;
           });
  }

 private:
  std::optional<std::string> name_;
  std::optional<std::string> loader_;
};

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
  const OwnProgram own;
  std::error_code error;
  for (fs::directory_iterator entry("/proc", error), end; !error && entry != end;
       entry.increment(error)) {
    const auto id = processId(entry->path());
    if (!id || !belongsToThisUser(entry->path())) continue;
    if (own.runsIn(entry->path())) found.push_back(*id);
  }
  std::ranges::sort(found);
  return found;
}

bool LinuxProcesses::forceTerminate(ProcessId process) {
  return isOneProcess(process) && ::kill(process, SIGKILL) == 0;
}

}  // namespace vesk
