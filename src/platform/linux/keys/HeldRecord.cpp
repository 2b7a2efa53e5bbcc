#include "platform/linux/keys/HeldRecord.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <sstream>
#include <string>
#include <system_error>
#include <utility>

#include "platform/Descriptor.h"

namespace vesk::keys {
namespace {

std::filesystem::path placeOfRecord() {
  const char* const folder = std::getenv("XDG_RUNTIME_DIR");
  const char* const display = std::getenv("WAYLAND_DISPLAY");
  if (folder == nullptr || *folder == '\0' || display == nullptr) return {};
  const auto name = std::filesystem::path(display).filename().string();
  return std::filesystem::path(folder) / ("vesk-remote-held-" + name);
}

/// The record itself: whatever else has its name, a pipe that would keep the program waiting or a
/// link to somewhere, is left alone.
Descriptor openRecord(const std::filesystem::path& path, int flags) {
  constexpr mode_t ownersAlone = 0600;
  Descriptor file(::open(path.c_str(), flags | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, ownersAlone));
  struct stat status {};
  const bool isFile = file && ::fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode);
  return isFile ? std::move(file) : Descriptor();
}

}  // namespace

HeldRecord::HeldRecord() : path_(placeOfRecord()) {}

bool HeldRecord::isLeftBehind() const {
  std::error_code error;
  return held_.empty() && !path_.empty() && std::filesystem::exists(path_, error);
}

std::set<HeldRecord::Key> HeldRecord::read() const {
  // No kernel has more codes than fit in here.
  std::array<char, 4096> text{};
  const auto file = openRecord(path_, O_RDONLY);
  const auto count = file ? ::read(file.get(), text.data(), text.size()) : 0;
  std::istringstream numbers(
      std::string(text.data(), count > 0 ? static_cast<std::size_t>(count) : 0));
  std::set<Key> codes;
  for (Key code = 0; numbers >> code;) codes.insert(code);
  return codes;
}

void HeldRecord::add(Key code) {
  held_.insert(code);
  if (written_.insert(code).second) write();
}

void HeldRecord::update() {
  if (std::exchange(written_, held_) != held_) write();
}

void HeldRecord::clear() {
  held_.clear();
  written_.clear();
  write();
}

void HeldRecord::write() {
  if (path_.empty()) return;
  std::error_code error;
  if (written_.empty()) {
    std::filesystem::remove(path_, error);
    return;
  }
  std::string text;
  for (const auto code : written_) text += std::to_string(code) + '\n';
  const auto file = openRecord(path_, O_WRONLY | O_CREAT | O_TRUNC);
  if (!file) return;
  [[maybe_unused]] const auto ignored = ::write(file.get(), text.data(), text.size());
}

}  // namespace vesk::keys
