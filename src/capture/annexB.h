#pragma once

#include <optional>

#include "link/Frame.h"
#include "platform/Compression.h"

namespace vesk {

/// The access unit of one encoded frame as an H.264 byte stream (Annex B): a four-byte start code
/// before every NAL unit, and the parameter sets in front of every key frame, so that a decoder can
/// start there with nothing else known. Nothing when there is nothing to send.
///
/// A frame is a key frame unless its encoder says otherwise. The units end at the first one that is
/// empty or cut short; what stands before it is kept.
std::optional<Bytes> annexB(const EncodedSample& sample);

}  // namespace vesk
