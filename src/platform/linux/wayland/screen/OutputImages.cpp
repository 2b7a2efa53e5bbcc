#include "platform/linux/wayland/screen/OutputImages.h"

#include <chrono>
#include <cmath>
#include <utility>

#include "platform/linux/wayland/screen/streamErrors.h"
#include "platform/linux/wayland/screen/turned.h"

namespace vesk::wayland::screen {
namespace {

using namespace std::chrono_literals;
using State = OutputCopier::State;
using When = OutputCopier::When;

/// An output that is being switched on or to another mode refuses copies for a while, and one that
/// is switched off for as long as it is.
constexpr auto longestFailing = 1s;
constexpr auto failurePause = 20ms;

/// Nothing has been copied before, and so all has changed; a compositor may see that otherwise.
constexpr auto longestFirst = 250ms;

/// The compositor answers at once unless it is drawing. Without the answer the copy would begin a
/// frame later.
constexpr auto longestAnnouncement = 20ms;

/// With more of them, what lies between them is taken along.
constexpr std::size_t mostRectangles = 64;

PixelRect whole(const server::Output& output) {
  const auto size = output.pixels();
  return {0, 0, static_cast<std::int32_t>(size.width), static_cast<std::int32_t>(size.height)};
}

}  // namespace

std::optional<PlatformError> OutputImages::open(int /*stopped*/) {
  if (auto error = connect()) return error;
  copier_ = std::make_unique<OutputCopier>(*connection_, outputs_->proxy(output_.id),
                                           configuration_.showsCursor);
  if (!*copier_) return streamError::notReadable;
  untold_ = {whole(output_)};
  upright_ = std::make_unique<UprightPixels>(output_.transform);
  beneath_ = std::make_unique<beneath::PictureBeneath>(output_.id);
  painter_ = std::make_unique<picture::ImagePainter>(
      output_.pixels(), PixelSize{configuration_.width, configuration_.height});
  return firstCopy();
}

std::optional<PlatformError> OutputImages::connect() {
  connection_ = std::make_unique<server::Connection>();
  if (!*connection_) return stream::unlessNoDescriptor(streamError::compositorGone);
  outputs_ = std::make_unique<server::OutputList>(*connection_);
  const auto output = outputs_->find(display_.displayID);
  if (!output) return *connection_ ? streamError::displayGone : streamError::compositorGone;
  // The images' size was made for what the display was.
  const bool isAsListed = std::llround(output->area.width) == display_.width &&
                          std::llround(output->area.height) == display_.height;
  if (!isAsListed) return streamError::displayChanged;
  output_ = *output;
  return std::nullopt;
}

/// Waits for it. Asking at once, where that is not needed, would make the second image one of the
/// whole output.
std::optional<PlatformError> OutputImages::firstCopy() {
  const auto deadline = Time::clock::now() + server::Connection::patience;
  const auto isOver = [&] {
    return copier_->state() == State::ready || copier_->state() == State::failed;
  };
  ask(When::changed);
  connection_->wait(isOver, Time::clock::now() + longestFirst);
  while (copier_->state() != State::ready) {
    if (auto error = connectionError()) return error;
    if (copier_->state() == State::failed) {
      if (auto error = failure()) return error;
      connection_->wait([] { return false; }, Time::clock::now() + failurePause);
    } else if (copier_->when() == When::atOnce) {
      return streamError::notReadable;
    }
    if (auto error = connectionError()) return error;
    ask(When::atOnce);
    connection_->wait(isOver, deadline);
  }
  return std::nullopt;
}

void OutputImages::close() {
  painter_.reset();
  copier_.reset();
  outputs_.reset();
  connection_.reset();
}

std::optional<PlatformError> OutputImages::follow() {
  connection_->dispatch();
  if (auto error = connectionError()) return error;
  if (copier_->state() == State::failed) {
    if (auto error = failure()) return error;
    ask(When::atOnce);
  }
  if (copier_->state() == State::none) askForNext();
  if (copier_->state() == State::announcing) {
    connection_->wait([&] { return copier_->state() != State::announcing; },
                      Time::clock::now() + longestAnnouncement);
  }
  // Nothing is sent while the stream sleeps.
  connection_->flush();
  return connectionError();
}

std::optional<PlatformError> OutputImages::connectionError() const {
  if (!*connection_) return stream::unlessNoDescriptor(streamError::compositorGone);
  const auto now = outputs_->find(output_.id);
  if (!now) return streamError::displayGone;
  if (*now != output_) return streamError::displayChanged;
  return std::nullopt;
}

/// What a failed copy means for the stream: nothing yet, or its end.
std::optional<PlatformError> OutputImages::failure() {
  switch (copier_->failure()) {
    case OutputCopier::Failure::strangeColours:
      return streamError::strangeColours;
    case OutputCopier::Failure::noMemory:
      return stream::unlessNoDescriptor(streamError::notReadable);
    case OutputCopier::Failure::refused:
      break;
  }
  const auto now = Time::clock::now();
  if (!failingSince_) failingSince_ = now;
  // One that was switched off to save power comes back when somebody moves the mouse.
  const bool mayComeBack = hasImages_ || now - *failingSince_ < longestFailing;
  return mayComeBack ? std::nullopt : std::optional(streamError::notReadable);
}

void OutputImages::ask(When when) {
  if (leftOut_ != nullptr) shownWhenAsked_ = leftOut_->shown();
  copier_->ask(when);
}

/// After a copy that could not be used nothing else may change for a long time.
void OutputImages::askForNext() {
  if (!isUncertain_) return ask(When::changed);
  if (leftOut_->shown().isCertain) ask(When::atOnce);
}

OutputImages::Taken OutputImages::take() {
  const auto shown = leftOut_ == nullptr ? beneath::OwnSurfaces::Shown{} : leftOut_->shown();
  collectChanges();
  isUncertain_ = !isKnownWhatItShows(shown);
  failingSince_.reset();
  if (isUncertain_) {
    copier_->drop();
    return {};
  }
  const auto layout = copier_->pixels().layout;
  if (PixelSize{layout.width, layout.height} != output_.mode)
    return {nullptr, streamError::displayChanged};
  if (untold_.empty()) {
    copier_->drop();
    return {};
  }
  hasImages_ = true;
  return {image(shown), std::nullopt};
}

/// Adds what has changed, as the person sees it, to what no image has told of yet.
void OutputImages::collectChanges() {
  for (const auto& rect : copier_->changed())
    untold_.push_back(intersection(turned(rect, output_.mode, output_.transform), whole(output_)));
  const bool isUntold = copier_->when() == When::changed && copier_->changed().empty();
  if (isUntold) untold_ = {whole(output_)};
  if (untold_.size() <= mostRectangles) return;
  PixelRect all;
  for (const auto& rect : untold_) all = around(all, rect);
  untold_ = {all};
}

/// Whether the copy shows the surfaces that are listed now: nothing was being changed from before
/// it was asked for until it had come.
bool OutputImages::isKnownWhatItShows(const beneath::OwnSurfaces::Shown& now) const {
  return leftOut_ == nullptr || (shownWhenAsked_.isCertain && now.isCertain &&
                                 shownWhenAsked_.generation == now.generation);
}

ImageBufferRef OutputImages::image(const beneath::OwnSurfaces::Shown& shown) {
  auto changed = std::exchange(untold_, {});
  auto areas = changed;
  // What was made of own surfaces is made anew each time, from what the compositor shows.
  for (const auto& surface : shown.surfaces) {
    if (surface.output == output_.id) areas.push_back(padded(surface.area, 1));
  }
  const auto pixels = upright_->update(copier_->pixels(), areas);
  // The compositor makes up its answer while the image is painted. The copy itself begins later.
  ask(When::changed);
  connection_->flush();
  beneath_->uncover(pixels, shown, changed);
  return painter_->paint(pixels.data, static_cast<int>(pixels.stride), changed);
}

}  // namespace vesk::wayland::screen
