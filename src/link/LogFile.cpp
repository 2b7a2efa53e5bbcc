#include "link/LogFile.h"

#include <chrono>
#include <string>

#include "link/Iso8601.h"

namespace vesk {

LogFile::LogFile(const std::filesystem::path& path) {
  FileHandle::createIfMissing(path);
  handle_ = FileHandle::forWriting(path);
  if (!handle_) return;
  if (handle_->size().value_or(0) > maxSize) handle_->truncate();
  handle_->seekToEnd();
}

void LogFile::info(std::string_view message) const {
  std::string line = iso8601(std::chrono::system_clock::now());
  line.append(" ").append(message).append("\n");
  if (handle_) {
    handle_->write(line);
  } else {
    writeToStandardError(line);
  }
}

}  // namespace vesk
