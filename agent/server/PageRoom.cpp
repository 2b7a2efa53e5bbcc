#include "agent/server/PageRoom.h"

#include <algorithm>
#include <utility>

#include "agent/KeyPicture.h"
#include "agent/Requests.h"
#include "agent/server/PageMessage.h"

namespace vesk::agent {
namespace {

using Clock = std::chrono::steady_clock;

/// The kind and the duration.
constexpr std::size_t headSize = 5;

/// A browser makes half a dozen at once.
constexpr std::size_t maxGuests = 64;

Frame controlFrame(const std::string& text) {
  return pageMessage::frameOf(FrameKind::control, text);
}

std::optional<PageRefusal> refusalFor(PageKey::Admission admission) {
  using enum PageKey::Admission;
  switch (admission) {
    case granted:
      return std::nullopt;
    case wrongKey:
      return PageRefusal{pageRefusal::wrongKey,
                         "This key is not the agent's. Open the address that the agent has shown."};
    case noCookie:
      return PageRefusal{pageRefusal::wrongKey,
                         "This browser has no cookie of the agent's. Allow cookies here, and "
                         "reload."};
    case otherBrowser:
      break;
  }
  return PageRefusal{pageRefusal::wrongKey,
                     "Another browser has used this key already. Start the agent anew for another "
                     "one."};
}

}  // namespace

/// Whoever is not done by the time that so many others have come was in no hurry.
void PageRoom::welcome(const std::shared_ptr<PageGuest>& guest) {
  guests_.remove_if([](const auto& other) { return other.expired(); });
  guests_.push_back(guest);
  if (guests_.size() <= maxGuests) return;
  if (const auto oldest = guests_.front().lock()) oldest->showOut();
  guests_.pop_front();
}

void PageRoom::showAllOut() {
  if (viewer_ != nullptr) viewer_->end();
  for (const auto& guest : std::exchange(guests_, {})) {
    if (const auto living = guest.lock()) living->end();
  }
}

std::optional<PageRefusal> PageRoom::sit(const std::shared_ptr<PageSeat>& seat,
                                         const std::string& key, const PageKey::Tokens& browser,
                                         TimePoint now) {
  auto refusal = refusalFor(key_.admit(key, browser));
  if (!refusal && viewer_ != nullptr) {
    refusal = PageRefusal{pageRefusal::occupied,
                          "Another page views this screen already. Close that one first."};
  }
  if (refusal) return refusal;
  viewer_ = seat;
  isTaken_ = true;
  note("a viewer has come");
  tell(pageMessage::ofProgram(hasProgram_));
  for (const auto& frame : program_.messages()) {
    seat->backlog().addMessage(pageMessage::ofFrame(frame));
  }
  tend(now);
  seat->wake();
  return std::nullopt;
}

void PageRoom::leave(const PageSeat& seat) {
  if (viewer_.get() != &seat) return;
  viewer_.reset();
  isTaken_ = false;
  for (auto& frame : held_.takeReleases()) mail_.putFrame(std::move(frame));
  note("the viewer has gone");
  viewerHasLeft_();
}

void PageRoom::viewerIsMissed() {
  if (viewer_ != nullptr || !session_.isWanted()) return;
  session_.clear();
  const Frame stop = controlFrame(requests::stop());
  program_.sent(stop);
  mail_.putFrame(stop);
  note("the viewer has not come back, so its session was stopped");
}

PageMail::Room PageRoom::fromViewer(Frame frame) {
  if (!hasProgram_) return PageMail::Room::some;
  held_.sent(frame);
  session_.sent(frame);
  program_.sent(frame);
  return mail_.putFrame(std::move(frame));
}

void PageRoom::tend(TimePoint now) {
  if (viewer_ == nullptr) return;
  auto& backlog = viewer_->backlog();
  if (const auto count = backlog.takeDropped(); count > 0) {
    note("too slow for " + std::to_string(count) + " access units, which were dropped");
  }
  if (hasProgram_ && backlog.takeKeyFrameWish(now)) {
    mail_.putFrame(controlFrame(requests::keyframe()));
  }
  if (backlog.isOverfull()) {
    viewer_->refuse({pageRefusal::tooSlow, "The page has not read for too long."});
  }
}

void PageRoom::programConnected() {
  hasProgram_ = true;
  tell(pageMessage::ofProgram(true));
}

void PageRoom::programGone() {
  hasProgram_ = false;
  program_.clear();
  held_.clear();
  session_.clear();
  tell(pageMessage::ofProgram(false));
}

/// What the agent itself starts is no viewer's session, and goes on without one.
void PageRoom::agentSent(const Frame& frame) {
  program_.sent(frame);
  const auto op = pageMessage::opOf(frame);
  if (op == "start" || op == "stop") session_.clear();
}

void PageRoom::programSent(const Frame& frame) {
  program_.received(frame);
  session_.received(frame);
  if (viewer_ == nullptr) return;
  viewer_->backlog().addMessage(pageMessage::ofFrame(frame));
  viewer_->wake();
  tend(Clock::now());
}

void PageRoom::programSentVideo(Bytes message, TimePoint now) {
  if (viewer_ == nullptr) return;
  const bool isKey = isKeyPicture(ByteView(message).subspan(std::min(headSize, message.size())));
  viewer_->backlog().addVideo(std::move(message),
                              isKey ? PageBacklog::Picture::key : PageBacklog::Picture::delta, now);
  viewer_->wake();
  tend(now);
}

void PageRoom::programVideoLost() {
  if (viewer_ != nullptr) viewer_->backlog().loseVideo();
}

void PageRoom::noteForPage(std::string_view text) { tell(pageMessage::ofNote(text)); }

void PageRoom::mailTaken() {
  if (viewer_ != nullptr) viewer_->readOn();
}

void PageRoom::tell(const std::string& text) {
  if (viewer_ == nullptr) return;
  viewer_->backlog().addText(text);
  viewer_->wake();
}

}  // namespace vesk::agent
