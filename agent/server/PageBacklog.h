#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <utility>

#include "link/Frame.h"

namespace vesk::agent {

/// What is on its way to the page. Once the page is half a second behind, the video that waits is
/// dropped, and all that comes up to the first key frame after it has caught up, so that it never
/// sees an old picture for long and never one whose reference it lacks. A page that has just come
/// gets its first key frame in the same way.
///
/// Thread: one. Owns: the messages that wait. Time comes with the calls.
class PageBacklog {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  static constexpr std::chrono::milliseconds patience{500};
  static constexpr std::size_t maxVideo = std::size_t{16} * 1024 * 1024;
  static constexpr std::size_t maxOther = std::size_t{1024} * 1024;

  struct Item {
    enum class Kind { text, message, video };
    Kind kind = Kind::text;
    Bytes bytes;
  };

  enum class Picture { delta, key };
  void addVideo(Bytes message, Picture picture, TimePoint now);

  /// An access unit that was too much to be brought here.
  void loseVideo();

  /// What is no video is never dropped. `isOverfull` tells when that has become too much to keep.
  void addMessage(Bytes message);
  void addText(const std::string& text);
  bool isOverfull() const { return otherBytes_ > maxOther; }

  /// The next message to write; video counts as on its way from then on.
  std::optional<Item> next();

  /// How much of the video was written so far, in access units.
  std::uint64_t written() const { return written_; }

  /// The page has got that many access units.
  void arrived(std::uint64_t units);

  /// Whether a key frame has to be asked for now. True once, and again a second later when none
  /// has come.
  bool takeKeyFrameWish(TimePoint now);

  /// How many access units were dropped, once the video goes on and the page is about to be told.
  std::uint64_t takeDropped() { return std::exchange(resumedAfter_, 0); }

 private:
  enum class Flow { beginning, going, dropping };

  struct Unit {
    TimePoint came;
    std::size_t size = 0;
  };

  bool isBehind(std::size_t size, TimePoint now) const;
  void stop();
  void resume();

  std::deque<Item> items_;
  std::deque<Unit> units_;  ///< the video that the page has not got yet, written or not
  std::size_t videoBytes_ = 0;
  std::size_t otherBytes_ = 0;
  std::uint64_t written_ = 0;
  std::uint64_t arrived_ = 0;
  std::uint64_t dropped_ = 0;  ///< while dropping
  std::uint64_t resumedAfter_ = 0;
  Flow flow_ = Flow::beginning;
  std::optional<TimePoint> asked_;
};

}  // namespace vesk::agent
