#include "agent/Recorder.h"

#include <cerrno>
#include <stdexcept>
#include <system_error>

#include "agent/KeyPicture.h"

namespace vesk::agent {
namespace {

[[noreturn]] void fail(const std::string& name) {
  throw std::runtime_error("cannot write '" + name +
                           "': " + std::generic_category().message(errno));
}

std::ofstream opened(const std::string& name) {
  std::ofstream file;
  if (name.empty()) return file;
  errno = 0;
  file.open(name, std::ios::binary | std::ios::trunc);
  if (!file) fail(name);
  return file;
}

}  // namespace

Recorder::Recorder(const std::string& videoFile, const std::string& durationsFile)
    : videoName_(videoFile),
      durationsName_(durationsFile),
      video_(opened(videoFile)),
      durations_(opened(durationsFile)) {}

void Recorder::add(const AccessUnit& unit) {
  errno = 0;
  if (video_.is_open()) {
    video_.write(reinterpret_cast<const char*>(unit.bytes.data()),
                 static_cast<std::streamsize>(unit.bytes.size()));
    if (!video_.flush()) fail(videoName_);
  }
  if (durations_.is_open()) {
    durations_ << static_cast<std::uint32_t>(unit.duration) << ' ' << unit.bytes.size() << ' '
               << (isKeyPicture(unit.bytes) ? "key" : "delta") << '\n';
    if (!durations_.flush()) fail(durationsName_);
  }
}

}  // namespace vesk::agent
