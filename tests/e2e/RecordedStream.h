#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "platform/linux/picture/ScreenEncoder.h"
#include "rates/Content.h"

namespace vesk::testing {

/// The stream of a kind of content, thirty pictures a second, as it goes to a viewer. Thread: the
/// test's.
class RecordedStream {
 public:
  struct Settings {
    std::string content;
    PixelSize size{1278, 718};  ///< neither edge is whole macroblocks
    std::int64_t kilobitsPerSecond = 4000;
    std::int64_t picturesToKeyFrame = 120;
  };

  explicit RecordedStream(const Settings& settings);

  enum class Screen { goesOn, standsStill };
  enum class Key { whenDue, inEach };

  /// So many pictures more.
  void record(int pictures, Screen screen = Screen::goesOn, Key key = Key::whenDue);

  void setRate(std::int64_t kilobitsPerSecond) { encoder_.setBitRate(kilobitsPerSecond * 1000); }

  using Unit = std::vector<std::byte>;

  /// Each in Annex B's byte stream format.
  const std::vector<Unit>& accessUnits() const { return units_; }

  static bool isKeyFrame(const Unit& unit);

  /// Key frames that are the same, byte by byte, as one before.
  int repeatedKeyFrames() const;
  /// Key frames straight after another.
  int keyFramesInARow() const;
  /// Those of them with the identifier of the one before. It is what tells the two apart for a
  /// decoder that goes by nothing else.
  int confusedKeyFrames() const;
  /// Pictures that only show the one before once more.
  int skips() const;
  /// Pictures that were put together from slices.
  int composed() const;
  /// The different parameter sets that its key frames bring along: as many encoders took part.
  int kindsOfParameterSets() const;

 private:
  rates::Canvas canvas_;
  std::function<void(int)> painter_;
  picture::ScreenEncoder encoder_;
  std::vector<Unit> units_;
};

}  // namespace vesk::testing
