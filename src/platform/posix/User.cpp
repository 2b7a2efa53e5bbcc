#include "platform/User.h"

#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vesk {
namespace {

struct DatabaseEntry {
  std::string name;
  std::string home;
};

std::optional<DatabaseEntry> databaseEntry() {
  const long suggested = ::sysconf(_SC_GETPW_R_SIZE_MAX);
  std::vector<char> buffer(suggested > 0 ? static_cast<std::size_t>(suggested) : 16384);
  passwd entry{};
  passwd* found = nullptr;
  while (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) == ERANGE) {
    buffer.resize(buffer.size() * 2);
  }
  if (found == nullptr) return std::nullopt;
  return DatabaseEntry{found->pw_name, found->pw_dir};
}

}  // namespace

std::string loginName() {
  // Once learnt it is kept: the database may be out of reach for a while.
  static std::mutex mutex;
  static std::optional<std::string> known;
  const std::lock_guard lock(mutex);
  if (!known) {
    if (auto entry = databaseEntry()) known = std::move(entry->name);
  }
  return known.value_or(std::to_string(userId()));
}

std::uint32_t userId() { return ::getuid(); }

std::filesystem::path homeDirectory() {
  if (const char* home = std::getenv("HOME"); home != nullptr && *home != '\0') return home;
  const auto entry = databaseEntry();
  return entry ? entry->home : "/";
}

}  // namespace vesk
