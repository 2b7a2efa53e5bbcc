#include "platform/DeliberateAct.h"

namespace vesk {

void DeliberateAct::State::begin() {
  lasts_ = true;
  since_.reset();
}

void DeliberateAct::State::end() {
  lasts_ = false;
  since_.reset();
}

void DeliberateAct::State::confirm(Time now) {
  if (lasts_ && !since_) since_ = now;
}

void DeliberateAct::comesIntoSight() {
  if (sight_.lasts()) return;
  sight_.begin();
  place_.begin();
}

void DeliberateAct::goesOutOfSight() {
  sight_.end();
  place_.end();
  buttonCounted_ = false;
}

void DeliberateAct::moves() {
  if (sight_.lasts()) place_.begin();
  buttonCounted_ = false;
}

void DeliberateAct::getsFocus(const Keys& held) {
  focus_.begin();
  down_ = held;
  counted_.reset();
}

void DeliberateAct::losesFocus() {
  focus_.end();
  counted_.reset();
}

void DeliberateAct::confirm(Time now) {
  sight_.confirm(now);
  place_.confirm(now);
  focus_.confirm(now);
}

bool DeliberateAct::keyGoesDown(unsigned key, Time at) {
  if (key >= down_.size()) return false;
  // A repeat is told of as one more press, by some servers with a release right before it.
  const bool repeats = down_[key] || lastUp_ == std::pair{key, at};
  down_.set(key);
  const bool counts = !repeats && sight_.isSettled(at) && focus_.isSettled(at);
  if (counts) counted_.set(key);
  return counts;
}

bool DeliberateAct::keyGoesUp(unsigned key, Time at) {
  if (key >= down_.size()) return false;
  const bool counts = counted_[key];
  lastUp_.emplace(key, at);
  down_.reset(key);
  counted_.reset(key);
  return counts;
}

bool DeliberateAct::buttonGoesDown(Time at) {
  buttonCounted_ = place_.isSettled(at);
  return buttonCounted_;
}

bool DeliberateAct::buttonGoesUp() { return std::exchange(buttonCounted_, false); }

}  // namespace vesk
