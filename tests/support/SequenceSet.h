#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace vesk::testing {

/// What a sequence parameter set says of its stream (ITU-T H.264, 7.3.2.1.1 and E.1.1).
struct SequenceSet {
  unsigned profile = 0;
  int level = 0;  ///< ten times its name
  unsigned macroblocksAcross = 0;
  unsigned macroblocksDown = 0;
  bool fullRange = false;
  unsigned primaries = 2;  ///< 2 is unspecified, here and below
  unsigned transfer = 2;
  unsigned matrix = 2;
  unsigned chromaPlace = 0;  ///< of both fields; 0, between the two samples on the left
  double picturesPerSecond = 0;
};

/// Reads one, a whole NAL unit without a start code; nothing where it is cut short or of another
/// profile than baseline.
std::optional<SequenceSet> sequenceSet(std::span<const std::byte> unit);

/// The one at the beginning of an access unit in Annex B's byte stream format.
std::optional<SequenceSet> sequenceSetOf(std::span<const std::byte> accessUnit);

}  // namespace vesk::testing
