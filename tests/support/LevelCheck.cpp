#include "support/LevelCheck.h"

#include <algorithm>
#include <map>

#include "support/SequenceSet.h"

namespace vesk::testing {
namespace {

/// Table A-1 for baseline: macroblocks a second and a picture, kilobits a second and in the buffer,
/// the least compression.
struct Limits {
  double macroblocksPerSecond;
  double macroblocks;
  double kilobits;
  double bufferKilobits;
  double leastCompression;
  double sliceRate;  ///< of macroblocks, as the main profile has it; nought where there is no limit
};

const std::map<int, Limits> levels{
    {10, {1485, 99, 64, 175, 2, 0}},
    {11, {3000, 396, 192, 500, 2, 0}},
    {12, {6000, 396, 384, 1000, 2, 0}},
    {13, {11880, 396, 768, 2000, 2, 0}},
    {20, {11880, 396, 2000, 2000, 2, 0}},
    {21, {19800, 792, 4000, 4000, 2, 0}},
    {22, {20250, 1620, 4000, 4000, 2, 0}},
    {30, {40500, 1620, 10000, 10000, 2, 22}},
    {31, {108000, 3600, 14000, 14000, 4, 60}},
    {32, {216000, 5120, 20000, 20000, 4, 60}},
    {40, {245760, 8192, 20000, 25000, 4, 60}},
    {41, {245760, 8192, 50000, 62500, 2, 24}},
    {42, {522240, 8704, 50000, 62500, 2, 24}},
    {50, {589824, 22080, 135000, 135000, 2, 24}},
    {51, {983040, 36864, 240000, 240000, 2, 24}},
    {52, {2073600, 36864, 240000, 240000, 2, 24}},
    {60, {4177920, 139264, 240000, 240000, 2, 24}},
    {61, {8355840, 139264, 480000, 480000, 2, 24}},
    {62, {16711680, 139264, 800000, 800000, 2, 24}},
};

std::size_t slicesOf(std::span<const std::byte> accessUnit) {
  std::size_t slices = 0;
  for (std::size_t i = 3; i < accessUnit.size(); ++i) {
    const auto type = std::to_integer<unsigned>(accessUnit[i]) & 0x1fU;
    const bool begins = accessUnit[i - 1] == std::byte{1} && accessUnit[i - 2] == std::byte{0} &&
                        accessUnit[i - 3] == std::byte{0};
    slices += begins && (type == 1 || type == 5) ? 1 : 0;
  }
  return slices;
}

}  // namespace

void LevelCheck::expect(bool holds, const std::string& what) {
  if (!holds) faults_.push_back("level " + std::to_string(level_) + ": " + what);
}

void LevelCheck::begin(std::span<const std::byte> accessUnit) {
  const auto set = sequenceSetOf(accessUnit);
  if (!set || !levels.contains(set->level)) {
    expect(false, "no sequence parameter set of a known level");
    return;
  }
  level_ = set->level;
  const Limits& limits = levels.at(level_);
  const double across = set->macroblocksAcross, down = set->macroblocksDown;
  macroblocks_ = across * down;
  pace_ = set->picturesPerSecond;
  macroblocksPerSecond_ = limits.macroblocksPerSecond;
  bitsPerSecond_ = limits.kilobits * 1000;
  bufferBits_ = limits.bufferKilobits * 1000;
  leastCompression_ = limits.leastCompression;
  // A stream with the second constraint keeps to the main profile too.
  mostSlices_ = limits.sliceRate > 0
                    ? static_cast<std::size_t>(macroblocksPerSecond_ / pace_ / limits.sliceRate)
                    : 0;
  const double longest = std::max(across, down);
  expect(macroblocks_ <= limits.macroblocks, "pictures too large");
  expect(longest * longest <= 8 * limits.macroblocks, "pictures too long");
  expect(macroblocks_ * pace_ <= macroblocksPerSecond_, "too many pictures");
}

void LevelCheck::add(std::span<const std::byte> accessUnit) {
  if (level_ == 0) begin(accessUnit);
  if (level_ == 0 || pace_ <= 0) return;
  const double macroblocks = pictures_ == 0 ? std::max(macroblocks_, macroblocksPerSecond_ / 172)
                                            : macroblocksPerSecond_ / pace_;
  const double bytes = static_cast<double>(accessUnit.size());
  constexpr double macroblockBytes = 384;
  const std::string which = "picture " + std::to_string(pictures_) + " of " +
                            std::to_string(accessUnit.size()) + " bytes ";
  expect(bytes <= macroblockBytes * macroblocks / leastCompression_,
         which + "too little compressed");
  inBuffer_ = std::max(inBuffer_ - bitsPerSecond_ / pace_, 0.0) + bytes * 8;
  expect(inBuffer_ <= bufferBits_, which + "overfills the buffer");
  expect(mostSlices_ == 0 || slicesOf(accessUnit) <= mostSlices_, which + "of too many slices");
  ++pictures_;
}

}  // namespace vesk::testing
