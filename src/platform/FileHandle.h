#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string_view>

#include "platform/Descriptor.h"

namespace vesk {

/// Thread: `write` from any; the rest by one thread at a time. Owns: its descriptor.
/// Fails: by value; nothing is thrown.
/// A file opened for writing, not for appending.
class FileHandle {
 public:
  /// Makes an empty file at `path` if there is none. A failure shows when the file is opened.
  static void createIfMissing(const std::filesystem::path& path);

  /// The file at `path`, positioned at its start, or nothing when it cannot be opened. Waits for
  /// nobody, whatever lies there.
  static std::optional<FileHandle> forWriting(const std::filesystem::path& path);

  /// The size in bytes, or nothing when it cannot be learnt.
  std::optional<std::uint64_t> size() const;

  void truncate();
  void seekToEnd();

  /// Writes all of `text` in one call. A failure is ignored.
  void write(std::string_view text) const;

 private:
  explicit FileHandle(Descriptor descriptor) : descriptor_(std::move(descriptor)) {}

  Descriptor descriptor_;
};

/// Writes all of `text` to a standard stream of the process in one call. A failure is ignored.
void writeToStandardOutput(std::string_view text);
void writeToStandardError(std::string_view text);

}  // namespace vesk
