#include "support/SequenceSet.h"

#include <algorithm>
#include <array>

#include "platform/linux/picture/h264/bits.h"
#include "platform/linux/picture/h264/emulationPrevention.h"

namespace vesk::testing {
namespace {

using picture::h264::BitReader;

constexpr unsigned baseline = 66;

void readColours(BitReader& reader, SequenceSet& set) {
  reader.bits(3);  // the format that was recorded
  set.fullRange = reader.bits(1) == 1U;
  if (reader.bits(1) != 1U) return;
  set.primaries = reader.bits(8).value_or(0);
  set.transfer = reader.bits(8).value_or(0);
  set.matrix = reader.bits(8).value_or(0);
}

void readTiming(BitReader& reader, SequenceSet& set) {
  const double tick = reader.bits(32).value_or(0);
  const double scale = reader.bits(32).value_or(0);
  if (tick > 0) set.picturesPerSecond = scale / tick / 2;  // counted in fields
}

/// False where the two fields differ.
bool readUsability(BitReader& reader, SequenceSet& set) {
  constexpr unsigned explicitAspect = 255;
  if (reader.bits(1) == 1U && reader.bits(8) == explicitAspect) reader.bits(32);
  if (reader.bits(1) == 1U) reader.bits(1);  // overscan
  if (reader.bits(1) == 1U) readColours(reader, set);
  if (reader.bits(1) == 1U) {
    set.chromaPlace = reader.ue().value_or(0);
    if (reader.ue() != set.chromaPlace) return false;
  }
  if (reader.bits(1) == 1U) readTiming(reader, set);
  return true;
}

}  // namespace

std::optional<SequenceSet> sequenceSet(std::span<const std::byte> unit) {
  const auto raw = picture::h264::unescaped(unit);
  BitReader reader(raw);
  reader.bits(8);
  SequenceSet set;
  set.profile = reader.bits(8).value_or(0);
  if (set.profile != baseline) return std::nullopt;
  reader.bits(8);  // constraints
  set.level = static_cast<int>(reader.bits(8).value_or(0));
  reader.ue();                                 // its identifier
  reader.ue();                                 // frame numbers
  if (reader.ue() != 2U) return std::nullopt;  // the order of output
  reader.ue();                                 // references
  reader.bits(1);                              // gaps
  set.macroblocksAcross = reader.ue().value_or(0) + 1;
  set.macroblocksDown = reader.ue().value_or(0) + 1;
  if (reader.bits(1) != 1U) return std::nullopt;  // frames only
  reader.bits(1);                                 // direct prediction
  if (reader.bits(1) == 1U) {                     // cropping
    for (int edge = 0; edge < 4; ++edge) reader.ue();
  }
  const auto usability = reader.bits(1);
  if (!usability) return std::nullopt;
  if (*usability == 1 && !readUsability(reader, set)) return std::nullopt;
  return set;
}

std::optional<SequenceSet> sequenceSetOf(std::span<const std::byte> accessUnit) {
  constexpr std::array start{std::byte{0}, std::byte{0}, std::byte{0}, std::byte{1}};
  if (accessUnit.size() < 5 || accessUnit[4] != std::byte{0x67}) return std::nullopt;
  const auto body = accessUnit.subspan(4);
  const auto next = std::search(body.begin(), body.end(), start.begin(), start.end());
  return sequenceSet(body.first(static_cast<std::size_t>(next - body.begin())));
}

}  // namespace vesk::testing
