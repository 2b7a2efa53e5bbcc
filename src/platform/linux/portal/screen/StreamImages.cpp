#include "platform/linux/portal/screen/StreamImages.h"

#include <libyuv.h>
#include <poll.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <utility>

#include "platform/linux/portal/screen/streamErrors.h"

namespace vesk::portal::screen {
namespace {

using namespace std::chrono_literals;
using wayland::beneath::OwnSurfaces;
using State = PipeWireStream::State;

/// Desktops that are asked for nothing but a stream begin it in a tenth of that.
constexpr auto longestFirst = 5s;

/// A picture that is sent before this side of the stream has begun is lost, and on a still screen
/// no other one follows.
constexpr auto longestSilence = 500ms;

/// A stream halts while its pictures become others, and for good when the person stops it.
constexpr auto longestHalt = 2s;

/// A picture takes so long at most from the screen to this program, besides waiting for its turn.
constexpr auto longestOnItsWay = 100ms;

/// Waits until one of the two is readable or the time is over; whether the first one is.
bool isReadable(int first, int second, StreamImages::Time::duration time) {
  std::array<pollfd, 2> descriptors{pollfd{first, POLLIN, 0}, pollfd{second, POLLIN, 0}};
  ::poll(descriptors.data(), descriptors.size(),
         static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(time).count()));
  return descriptors.front().revents != 0;
}

}  // namespace

StreamImages::StreamImages(Descriptor remote, std::uint32_t node, DisplayId display,
                           const StreamConfiguration& configuration, const OwnSurfaces* leftOut)
    : remote_(std::move(remote)),
      node_(node),
      display_(display),
      configuration_(configuration),
      leftOut_(leftOut),
      beneath_(display) {}

std::optional<PlatformError> StreamImages::open(int stopped) {
  if (leftOut_ != nullptr) generation_ = leftOut_->shown().generation;
  stream_ = std::make_unique<PipeWireStream>(
      std::move(remote_), node_,
      PipeWireStream::Wishes{configuration_.framesPerSecond, configuration_.showsCursor},
      PipeWireStream::Handlers{[this](const RemotePicture& picture) { keep(picture); },
                               [this](PointerNews news) {
                                 const std::lock_guard lock(mutex_);
                                 pointer_.follow(std::move(news));
                               }});
  auto error = *stream_ ? firstPicture(stopped)
                        : std::optional(stream::unlessNoDescriptor(streamError::notReadable));
  // It ends on the thread that it was made on.
  if (error) close();
  return error;
}

/// Waits for it.
std::optional<PlatformError> StreamImages::firstPicture(int stopped) {
  const auto deadline = Time::clock::now() + longestFirst;
  auto isDue = Time::clock::now() + longestSilence;
  while (!hasPicture()) {
    const auto now = Time::clock::now();
    if (now >= deadline) return stream::unlessNoDescriptor(streamError::noPicture);
    if (now >= isDue) {
      stream_->beginAnew();
      isDue = now + longestSilence;
    }
    if (isReadable(stopped, stream_->descriptor(), std::min(isDue, deadline) - now))
      return streamError::givenUp;
    if (auto error = follow()) return error;
  }
  const auto size = layout_.size;
  canvas_.resize(static_cast<std::size_t>(size.width * size.height) * bytesPerPixel);
  painter_ = std::make_unique<picture::ImagePainter>(
      size, PixelSize{configuration_.width, configuration_.height});
  return std::nullopt;
}

void StreamImages::close() { stream_.reset(); }

std::optional<PlatformError> StreamImages::follow() {
  stream_->iterate();
  return end();
}

std::optional<PlatformError> StreamImages::end() const {
  if (stream_->isOtherwise()) return streamError::displayChanged;
  switch (stream_->state()) {
    case State::serviceGone:
      return stream::unlessNoDescriptor(streamError::serviceGone);
    case State::ended:
      return stream::unlessNoDescriptor(hasPicture() ? streamError::stopped
                                                     : streamError::notReadable);
    case State::halted:
      if (Time::clock::now() < stream_->since() + longestHalt) return std::nullopt;
      return streamError::stopped;
    case State::beginning:
    case State::flowing:
      break;
  }
  return std::nullopt;
}

bool StreamImages::hasPicture() const {
  const std::lock_guard lock(mutex_);
  return kept_ != nullptr;
}

/// Takes over a picture while it is there.
void StreamImages::keep(const RemotePicture& picture) {
  const std::lock_guard lock(mutex_);
  const bool isFirst = kept_ == nullptr;
  if (isFirst) {
    layout_ = picture.layout;
    kept_ = std::make_unique<KeptPicture>(layout_.size);
  }
  if (isFirst || !picture.damage)
    return kept_->update(picture.pixels, picture.stride, kept_->whole());
  for (const auto& area : *picture.damage) kept_->update(picture.pixels, picture.stride, area);
}

bool StreamImages::mayDiffer() {
  const std::lock_guard lock(mutex_);
  return kept_->hasChanges() || pointer_.hasChanged();
}

StreamImages::Time StreamImages::nextLook() const {
  return stream_->state() == State::halted ? stream_->since() + longestHalt : Time::max();
}

StreamImages::Taken StreamImages::take() {
  const auto shown = leftOut_ == nullptr ? OwnSurfaces::Shown{} : leftOut_->shown();
  isHeldBack_ = !isKnownWhatItShows(shown);
  if (isHeldBack_) return {};
  return {image(shown), std::nullopt};
}

/// Whether the last picture shows the surfaces that are listed now. Nobody tells when a picture was
/// taken; so one of before their last change may be what is kept until none can be on its way any
/// more.
bool StreamImages::isKnownWhatItShows(const OwnSurfaces::Shown& now) {
  if (leftOut_ == nullptr) return true;
  const auto time = Time::clock::now();
  if (!now.isCertain || now.generation != generation_) changedAt_ = time;
  generation_ = now.generation;
  if (changedAt_ == Time::min()) return true;
  const auto turn = std::chrono::milliseconds(1s) / std::max(configuration_.framesPerSecond, 1);
  return time - changedAt_ >= longestOnItsWay + turn;
}

ImageBufferRef StreamImages::image(const OwnSurfaces::Shown& shown) {
  auto changed = bringUpToDate(shown);
  const auto pixels = canvas();
  beneath_.uncover(pixels, shown, changed);
  paintPointer(changed);
  return painter_->paint(pixels.data, static_cast<int>(pixels.stride), changed);
}

/// Brings to the canvas what has changed, which is answered, and what was made of own surfaces and
/// of the pointer, to be made anew.
std::vector<PixelRect> StreamImages::bringUpToDate(const OwnSurfaces::Shown& shown) {
  const std::lock_guard lock(mutex_);
  auto changed = kept_->takeChanges();
  for (const auto& area : changed) restore(area);
  for (const auto& surface : shown.surfaces) {
    if (surface.output == display_) restore(padded(surface.area, 1));
  }
  restore(pointer_.painted());
  return changed;
}

/// Lays what is kept into the canvas, blue first.
void StreamImages::restore(const PixelRect& area) {
  const auto part = intersection(area, kept_->whole());
  if (part.isEmpty()) return;
  const auto copy =
      layout_.first == PictureLayout::FirstColour::blue ? libyuv::ARGBCopy : libyuv::ABGRToARGB;
  const auto to = canvas();
  copy(kept_->pixels() + part.y * kept_->stride() + part.x * std::ptrdiff_t{bytesPerPixel},
       static_cast<int>(kept_->stride()), to.at(part.x, part.y), static_cast<int>(to.stride),
       part.width, part.height);
}

/// Adds to `changed` where it was and is, if it has.
void StreamImages::paintPointer(std::vector<PixelRect>& changed) {
  const std::lock_guard lock(mutex_);
  const bool hasChanged = pointer_.hasChanged();
  const auto before = pointer_.painted();
  pointer_.paint(canvas());
  if (!hasChanged) return;
  changed.push_back(before);
  changed.push_back(pointer_.painted());
}

Pixels StreamImages::canvas() {
  const auto width = static_cast<std::int32_t>(layout_.size.width);
  return {canvas_.data(), width * std::ptrdiff_t{bytesPerPixel}, width,
          static_cast<std::int32_t>(layout_.size.height)};
}

}  // namespace vesk::portal::screen
