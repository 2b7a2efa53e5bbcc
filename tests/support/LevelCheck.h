#pragma once

#include <span>
#include <string>
#include <vector>

namespace vesk::testing {

/// Holds a stream of one picture per access unit against the level that it claims (ITU-T H.264,
/// Annex A, in the strict sense): size of the pictures, their number, the bit rate, the buffer that
/// must hold them, the least compression of each, and its slices.
///
/// Thread: the test's.
class LevelCheck {
 public:
  /// The next access unit in Annex B's byte stream format.
  void add(std::span<const std::byte> accessUnit);

  /// One sentence for each limit that was broken.
  const std::vector<std::string>& faults() const { return faults_; }
  int level() const { return level_; }

 private:
  void begin(std::span<const std::byte> accessUnit);
  void expect(bool holds, const std::string& what);

  std::vector<std::string> faults_;
  int level_ = 0;
  double pace_ = 0;
  double macroblocksPerSecond_ = 0;
  double bitsPerSecond_ = 0;
  double bufferBits_ = 0;
  double leastCompression_ = 0;
  std::size_t mostSlices_ = 0;  ///< nought: no limit
  double macroblocks_ = 0;
  double inBuffer_ = 0;
  int pictures_ = 0;
};

}  // namespace vesk::testing
