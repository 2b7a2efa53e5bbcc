#pragma once

#include <VideoToolbox/VideoToolbox.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <future>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/macos/Retained.h"

/// Stand-ins for images, encoded frames and the encoder.
namespace vesk::fakes {

using SampleRef = vesk::mac::Retained<CMSampleBufferRef>;
using Units = std::vector<std::vector<std::uint8_t>>;

/// What a stream delivers.
struct ScreenSample {
  bool valid = true;
  bool hasImage = true;
  std::optional<int> status = 0;
  std::size_t width = 1920;
  std::size_t height = 1080;
};
SampleRef made(const ScreenSample& sample);

/// What an encoder gives: one slice, and what it needs to be decoded where it is a key frame.
SampleRef madeFrame(bool isKeyFrame);

enum class Answers {
  atOnce,  ///< on the encoder's own thread
  late,    ///< when the frames are asked for, or `answerLate` is called
  never,
};

/// The system's encoder. Thread: any; what it does is set before a session is made.
struct Encoder {
  std::mutex mutex;
  OSStatus status = 0;       ///< of making a session
  OSStatus frameStatus = 0;  ///< of taking a frame
  OSStatus outcome = 0;      ///< of a frame that was taken
  bool losesFrames = false;  ///< its output is empty
  Answers answers = Answers::atOnce;
  int sessions = 0;
  int ended = 0;  ///< sessions that were told to
  int frames = 0;
  std::map<std::string, long> properties;  ///< as last set, by name
  std::deque<std::function<void()>> waiting;
  /// Where it hangs, what completes the frames returns after this.
  std::shared_future<void> completes;

  /// What was held back comes out, on the encoder's thread, before this returns.
  void answerLate();
  void reset();
};
Encoder& encoder();

}  // namespace vesk::fakes
