#pragma once

#include <fstream>
#include <string>

#include "agent/FrameCheck.h"

namespace vesk::agent {

/// Writes the video to files: the access units one after the other, which players open as a raw
/// H.264 stream, and a line about each.
///
/// Thread: one. Owns: the files, which it empties first. An empty name stands for no file. Each
/// unit is in the files when `add` returns, so that a watcher can follow them. Fails: throws
/// std::runtime_error, with a sentence, when a file cannot be opened or written.
class Recorder {
 public:
  Recorder(const std::string& videoFile, const std::string& durationsFile);

  void add(const AccessUnit& unit);

 private:
  std::string videoName_;
  std::string durationsName_;
  std::ofstream video_;
  std::ofstream durations_;
};

}  // namespace vesk::agent
