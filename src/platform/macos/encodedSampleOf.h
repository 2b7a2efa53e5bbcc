#pragma once

#include <CoreMedia/CoreMedia.h>

#include "platform/Compression.h"

namespace vesk::mac {

/// What the core needs of an encoded frame, copied, so that the frame can be let go of; nothing for
/// a frame that was lost. Thread: any.
std::optional<EncodedSample> encodedSampleOf(CMSampleBufferRef _Nullable frame);

}  // namespace vesk::mac
