#include "platform/linux/portal/session/RestoreToken.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <system_error>

#include "platform/Descriptor.h"
#include "platform/User.h"

namespace vesk::portal::session {
namespace {

constexpr std::size_t maxLength = 1024;

std::filesystem::path stateFolder() {
  const char* const chosen = std::getenv("XDG_STATE_HOME");
  const bool isChosen = chosen != nullptr && *chosen == '/';
  return isChosen ? std::filesystem::path(chosen) : homeDirectory() / ".local/state";
}

/// Portals give printable ones; what else a file holds was not written here.
bool isToken(const std::string& text) {
  return !text.empty() && text.size() <= maxLength &&
         std::ranges::all_of(text, [](char c) { return c > ' ' && c <= '~'; });
}

}  // namespace

RestoreToken::RestoreToken() : path_(stateFolder() / "vesk-remote" / "portal-token") {}

std::string RestoreToken::read() const {
  const Descriptor file(::open(path_.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  struct stat status {};
  if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return {};
  std::array<char, maxLength + 1> bytes{};
  const auto count = ::read(file.get(), bytes.data(), bytes.size());
  const std::string text(bytes.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
  return isToken(text) ? text : std::string();
}

void RestoreToken::write(const std::string& token) const {
  std::error_code error;
  if (!isToken(token)) {
    std::filesystem::remove(path_, error);
    return;
  }
  std::filesystem::create_directories(path_.parent_path(), error);
  const std::filesystem::path fresh = path_.string() + ".new";
  std::filesystem::remove(fresh, error);
  constexpr mode_t ownersAlone = 0600;
  Descriptor file(
      ::open(fresh.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, ownersAlone));
  if (!file) return;
  const auto written = ::write(file.get(), token.data(), token.size());
  file.close();
  if (written == static_cast<ssize_t>(token.size())) {
    std::filesystem::rename(fresh, path_, error);
  } else {
    std::filesystem::remove(fresh, error);
  }
}

}  // namespace vesk::portal::session
