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
};

const std::map<int, Limits> levels{
    {10, {1485, 99, 64, 175, 2}},
    {11, {3000, 396, 192, 500, 2}},
    {12, {6000, 396, 384, 1000, 2}},
    {13, {11880, 396, 768, 2000, 2}},
    {20, {11880, 396, 2000, 2000, 2}},
    {21, {19800, 792, 4000, 4000, 2}},
    {22, {20250, 1620, 4000, 4000, 2}},
    {30, {40500, 1620, 10000, 10000, 2}},
    {31, {108000, 3600, 14000, 14000, 4}},
    {32, {216000, 5120, 20000, 20000, 4}},
    {40, {245760, 8192, 20000, 25000, 4}},
    {41, {245760, 8192, 50000, 62500, 2}},
    {42, {522240, 8704, 50000, 62500, 2}},
    {50, {589824, 22080, 135000, 135000, 2}},
    {51, {983040, 36864, 240000, 240000, 2}},
    {52, {2073600, 36864, 240000, 240000, 2}},
    {60, {4177920, 139264, 240000, 240000, 2}},
    {61, {8355840, 139264, 480000, 480000, 2}},
    {62, {16711680, 139264, 800000, 800000, 2}},
};

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
  ++pictures_;
}

}  // namespace vesk::testing
