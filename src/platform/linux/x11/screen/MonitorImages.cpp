#include "platform/linux/x11/screen/MonitorImages.h"

#include <algorithm>
#include <utility>

#include "platform/linux/x11/screen/monitorArea.h"
#include "platform/linux/x11/screen/streamErrors.h"
#include "platform/linux/x11/server/pixelLayout.h"

namespace vesk::x11::screen {
namespace {

std::optional<server::Monitor> monitorOf(const server::Connection& connection, DisplayId display) {
  const auto all = server::monitors(connection);
  const auto found = std::ranges::find(all, display, &server::Monitor::output);
  if (found == all.end()) return std::nullopt;
  return *found;
}

}  // namespace

std::optional<PlatformError> MonitorImages::open(int /*stopped*/) {
  const server::Connection connection;
  if (!connection) return stream::unlessNoDescriptor(streamError::serverGone);
  const auto monitor = monitorOf(connection, display_.displayID);
  if (!monitor) return streamError::displayGone;
  // The images' size was made for what the display was.
  const bool isAsListed = monitor->width == display_.width && monitor->height == display_.height;
  if (!isAsListed) return streamError::displayChanged;
  monitor_ = *monitor;
  const auto layout = server::pixelLayout(connection);
  if (!layout) return streamError::strangeColours;
  grabber_ = std::make_unique<ScreenGrabber>(monitor_, configuration_.showsCursor, leftOut_);
  if (!*grabber_) return stream::unlessNoDescriptor(streamError::notReadable);
  // From here on the server tells of changes; one that came before would be missed.
  if (auto error = layoutError()) return error;
  auto everything = grabber_->grab();
  if (!everything) return layoutError().value_or(streamError::notReadable);
  unsent_ = std::move(*everything);
  painter_ = std::make_unique<picture::ImagePainter>(
      PixelSize{monitor_.width, monitor_.height},
      PixelSize{configuration_.width, configuration_.height}, *layout);
  return std::nullopt;
}

void MonitorImages::close() {
  painter_.reset();
  grabber_.reset();
}

std::optional<PlatformError> MonitorImages::follow() {
  const auto news = grabber_->readEvents();
  if (!news) return streamError::serverGone;
  drawn_ = drawn_ || news->drawn;
  return news->layoutChanged ? layoutError() : std::nullopt;
}

MonitorImages::Taken MonitorImages::take() {
  drawn_ = false;
  auto changed = grabber_->grab();
  if (!changed) {
    return {nullptr, layoutError().value_or(grabber_->connection() ? streamError::displayChanged
                                                                   : streamError::serverGone)};
  }
  changed->insert(changed->end(), unsent_.begin(), unsent_.end());
  unsent_.clear();
  if (changed->empty()) return {};
  return {painter_->paint(grabber_->pixels(), grabber_->stride(), *changed), std::nullopt};
}

std::optional<PlatformError> MonitorImages::layoutError() const {
  const auto now = monitorOf(grabber_->connection(), display_.displayID);
  if (!now) {
    return grabber_->connection() ? streamError::displayGone : streamError::serverGone;
  }
  if (areaOf(*now) != areaOf(monitor_)) return streamError::displayChanged;
  return std::nullopt;
}

}  // namespace vesk::x11::screen
