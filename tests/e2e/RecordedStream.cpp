#include "e2e/RecordedStream.h"

#include <algorithm>
#include <array>
#include <optional>
#include <set>
#include <stdexcept>

#include "capture/annexB.h"
#include "platform/linux/picture/h264/SliceSyntax.h"
#include "platform/linux/picture/h264/emulationPrevention.h"

namespace vesk::testing {
namespace {

using Unit = RecordedStream::Unit;
using picture::h264::ByteView;

const rates::Content& contentOf(const std::string& name) {
  const auto found = std::ranges::find(rates::contents(), name, &rates::Content::name);
  if (found == rates::contents().end()) throw std::invalid_argument("no content " + name);
  return *found;
}

picture::ScreenEncoderSettings encoderSettings(const RecordedStream::Settings& settings) {
  picture::ScreenEncoderSettings all;
  all.encoder.width = static_cast<std::int32_t>(settings.size.width);
  all.encoder.height = static_cast<std::int32_t>(settings.size.height);
  all.encoder.framesPerSecond = rates::picturesPerSecond;
  all.bitRate = settings.kilobitsPerSecond * 1000;
  all.maxKeyFrameInterval = settings.picturesToKeyFrame;
  return all;
}

/// The NAL units of an access unit.
std::vector<ByteView> nalUnits(ByteView accessUnit) {
  constexpr std::array start{std::byte{0}, std::byte{0}, std::byte{0}, std::byte{1}};
  std::vector<ByteView> units;
  while (accessUnit.size() > start.size()) {
    accessUnit = accessUnit.subspan(start.size());
    const auto next =
        std::search(accessUnit.begin(), accessUnit.end(), start.begin(), start.end()) -
        accessUnit.begin();
    units.push_back(accessUnit.first(static_cast<std::size_t>(next)));
    accessUnit = accessUnit.subspan(static_cast<std::size_t>(next));
  }
  return units;
}

/// In front of a key frame stand its two parameter sets.
constexpr std::size_t keySlice = 2;

Unit parameterSets(const Unit& keyFrame) {
  Unit both;
  for (const auto unit : nalUnits(keyFrame)) {
    if (unit.front() != std::byte{0x65}) both.insert(both.end(), unit.begin(), unit.end());
  }
  return both;
}

/// Which of two neighbours a key frame is.
std::optional<std::uint32_t> identifier(const Unit& keyFrame) {
  const auto units = nalUnits(keyFrame);
  if (units.size() <= keySlice) return std::nullopt;
  const auto syntax = picture::h264::sliceSyntax(units[0], units[1]);
  if (!syntax) return std::nullopt;
  const auto raw = picture::h264::unescaped(units[keySlice]);
  picture::h264::BitReader reader(raw);
  reader.bits(8);
  reader.ue();  // first macroblock
  reader.ue();  // slice type
  reader.ue();  // picture parameter set
  reader.bits(syntax->frameNumberBits);
  return reader.ue();
}

}  // namespace

RecordedStream::RecordedStream(const Settings& settings)
    : canvas_(settings.size),
      painter_(contentOf(settings.content).painter(canvas_)),
      encoder_(encoderSettings(settings)) {}

void RecordedStream::record(int pictures, Screen screen, Key key) {
  for (; pictures > 0; --pictures) {
    const auto number = static_cast<int>(units_.size());
    if (number > 0) canvas_.next();
    if (screen == Screen::goesOn) painter_(number);
    const HostTime time{
        std::chrono::hours(1) +
        std::chrono::nanoseconds(number * std::int64_t{1'000'000'000} / rates::picturesPerSecond)};
    const auto sample = encoder_.encode(canvas_.image(), time, key == Key::inEach);
    units_.push_back(sample ? annexB(*sample).value_or(Unit{}) : Unit{});
  }
}

bool RecordedStream::isKeyFrame(const Unit& unit) {
  constexpr std::byte sequenceSet{0x67};
  return unit.size() > 4 && unit[4] == sequenceSet;
}

int RecordedStream::repeatedKeyFrames() const {
  std::set<Unit> different;
  const auto repeated = [&](const Unit& unit) {
    return isKeyFrame(unit) && !different.insert(unit).second;
  };
  return static_cast<int>(std::ranges::count_if(units_, repeated));
}

int RecordedStream::keyFramesInARow() const {
  int count = 0;
  for (std::size_t i = 1; i < units_.size(); ++i) {
    if (isKeyFrame(units_[i - 1]) && isKeyFrame(units_[i])) ++count;
  }
  return count;
}

int RecordedStream::confusedKeyFrames() const {
  int count = 0;
  for (std::size_t i = 1; i < units_.size(); ++i) {
    if (!isKeyFrame(units_[i - 1]) || !isKeyFrame(units_[i])) continue;
    const auto before = identifier(units_[i - 1]);
    if (!before || identifier(units_[i]) == before) ++count;
  }
  return count;
}

int RecordedStream::skips() const {
  constexpr std::size_t most = 16;
  return static_cast<int>(
      std::ranges::count_if(units_, [](const Unit& unit) { return unit.size() <= most; }));
}

int RecordedStream::composed() const {
  return static_cast<int>(std::ranges::count_if(
      units_, [](const Unit& unit) { return !isKeyFrame(unit) && nalUnits(unit).size() > 1; }));
}

int RecordedStream::kindsOfParameterSets() const {
  std::set<Unit> different;
  for (const auto& unit : units_) {
    if (isKeyFrame(unit)) different.insert(parameterSets(unit));
  }
  return static_cast<int>(different.size());
}

}  // namespace vesk::testing
