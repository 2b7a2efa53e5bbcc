#include "platform/linux/wayland/input/HeldRecord.h"

#include <cstdlib>
#include <fstream>
#include <system_error>

namespace vesk::wayland::input {
namespace {

std::filesystem::path placeOfRecord() {
  const char* const folder = std::getenv("XDG_RUNTIME_DIR");
  const char* const display = std::getenv("WAYLAND_DISPLAY");
  if (folder == nullptr || *folder == '\0' || display == nullptr) return {};
  const auto name = std::filesystem::path(display).filename().string();
  return std::filesystem::path(folder) / ("vesk-remote-held-" + name);
}

}  // namespace

HeldRecord::HeldRecord() : path_(placeOfRecord()) {}

bool HeldRecord::isLeftBehind() const {
  std::error_code error;
  return held_.empty() && !path_.empty() && std::filesystem::exists(path_, error);
}

std::set<Key> HeldRecord::read() const {
  constexpr std::size_t most = 1024;  // no kernel has as many codes
  std::set<Key> codes;
  std::ifstream file(path_);
  for (Key code = 0; codes.size() < most && file >> code;) codes.insert(code);
  return codes;
}

void HeldRecord::add(Key code) {
  held_.insert(code);
  update();
}

void HeldRecord::update() {
  if (held_ != written_) write();
}

void HeldRecord::clear() {
  held_.clear();
  write();
}

void HeldRecord::write() {
  written_ = held_;
  if (path_.empty()) return;
  std::error_code error;
  if (held_.empty()) {
    std::filesystem::remove(path_, error);
    return;
  }
  std::ofstream file(path_, std::ios::trunc);
  for (const auto code : held_) file << code << '\n';
}

}  // namespace vesk::wayland::input
