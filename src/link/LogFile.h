#pragma once

#include <filesystem>
#include <optional>
#include <string_view>

#include "platform/FileHandle.h"

namespace vesk {

/// A plain-text file of time-stamped lines.
///
/// Thread: any. Owns: the open file, for its whole life. Fails: a file that cannot be opened sends
/// the lines to standard error instead; a failed write is ignored.
class LogFile {
 public:
  /// A file that has grown past this many bytes is emptied when it is opened, and only then: a
  /// running program never cuts its own log.
  static constexpr std::uint64_t maxSize = 5'000'000;

  /// Opens the file and makes it if need be; the folder is not made.
  explicit LogFile(const std::filesystem::path& path);

  /// Appends one line: the time in UTC, a space, the message as it is, and a line feed.
  void info(std::string_view message) const;

 private:
  std::optional<FileHandle> handle_;
};

}  // namespace vesk
