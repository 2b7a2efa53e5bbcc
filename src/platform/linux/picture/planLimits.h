#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>

#include "platform/linux/picture/PicturePlan.h"

/// What the parts of the picture plan share: how long the link may be held up, and what is worth
/// another encoding.
namespace vesk::picture::limits {

/// How long a key frame may hold up the link. The pictures behind it wait with it, and few of them
/// may wait for more than half a second.
inline constexpr double keyFrameSeconds = 0.6;

/// The same amid changes, which go on behind it.
inline constexpr double movingKeyFrameSeconds = 0.4;

/// How long any other picture may hold up the link, with what was sent before it.
inline constexpr double refinementSeconds = 0.34;
inline constexpr double changeSeconds = 0.3;

/// A refinement is put off until the link has room for this much of it. One that is put together
/// from pieces costs what it is worth, so that many small ones are as cheap as few large ones.
inline constexpr double leastRefinementSeconds = 0.27;
inline constexpr double leastComposedSeconds = 0.09;

/// A page that takes longer than this to be made better by pieces is made better as a whole.
inline constexpr double longestByPieces = 1;

/// A picture that could not be coarser is left out if the link were held up for longer with it, and
/// if it takes more than the link takes meanwhile.
inline constexpr double holdSeconds = 0.42;

/// The last bits of a window, which are not planned with, are for what cannot be coarser.
inline constexpr double lastFill = 1.06;

/// A key frame below this part of what it may take is made anew.
inline constexpr double tooSmall = 0.87;
inline constexpr int mostAttempts = 2;

/// A key frame takes the place of a picture that is this many times as large.
inline constexpr double worthwhileSaving = 1.5;

/// One that takes no more than this times what it may is as well.
inline constexpr double keyTolerance = 1.12;

/// Pictures that come without a change before a coarse one is made better: an image can miss its
/// tick by a little while everything moves.
inline constexpr int ticksUntilRefined = 2;

/// A finer quantiser is worth another encoding from this difference on; beside what is encoded
/// anyway, from this one.
inline constexpr int leastStep = 3;
inline constexpr int worthwhileStep = 5;

/// Coarse pictures are made better in steps of this, each of which shows.
inline constexpr int mostStep = 9;

/// Better in two steps takes this much more than good at once.
inline constexpr double refinementFactor = 1.15;

/// Above this signal-to-noise ratio of its luma, in decibels, nobody tells a page from the screen.
inline constexpr double flawlessQuality = 44;

/// What is finer than the settled quantiser by less than this looks the same.
inline constexpr int bearableStep = 3;

/// What a key frame is about to undo is not begun.
inline constexpr double leastSecondsToEnjoy = 0.3;

/// What is left out for long is not taken to be ever cheaper.
inline constexpr int mostDoubts = 5;

/// Up to this part of the picture a change is a small one.
inline constexpr std::size_t smallPart = 8;

/// Of what has changed, so many times as much must have moved as is new.
inline constexpr std::size_t leastGain = 4;

/// The picture before once more, which asks for nothing else.
constexpr PicturePlan::Decision repeated(PicturePlan::Action action) {
  return {action, false, PicturePlan::worstQuantiser, 0, 0, 0, 0};
}

inline double seconds(std::chrono::nanoseconds time) {
  return std::max(std::chrono::duration<double>(time).count(), 0.0);
}

}  // namespace vesk::picture::limits
