#include "platform/FileHandle.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vesk {
namespace {

/// What a file gets that nobody asked anything special for; the process's mask narrows it.
constexpr mode_t defaultMode = 0666;

void writeOnce(int descriptor, std::string_view text) {
  [[maybe_unused]] const auto ignored = ::write(descriptor, text.data(), text.size());
}

}  // namespace

void FileHandle::createIfMissing(const std::filesystem::path& path) {
  const Descriptor created(
      ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, defaultMode));
}

std::optional<FileHandle> FileHandle::forWriting(const std::filesystem::path& path) {
  // A pipe in the file's place, of which nobody reads, holds up neither this nor what is written.
  Descriptor opened(::open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NONBLOCK));
  if (!opened) return std::nullopt;
  return FileHandle(std::move(opened));
}

std::optional<std::uint64_t> FileHandle::size() const {
  struct stat attributes {};
  if (::fstat(descriptor_.get(), &attributes) != 0) return std::nullopt;
  return static_cast<std::uint64_t>(attributes.st_size);
}

void FileHandle::truncate() {
  [[maybe_unused]] const int ignored = ::ftruncate(descriptor_.get(), 0);
}

void FileHandle::seekToEnd() { ::lseek(descriptor_.get(), 0, SEEK_END); }

void FileHandle::write(std::string_view text) const { writeOnce(descriptor_.get(), text); }

void writeToStandardOutput(std::string_view text) { writeOnce(STDOUT_FILENO, text); }

void writeToStandardError(std::string_view text) { writeOnce(STDERR_FILENO, text); }

}  // namespace vesk
