#pragma once

#include <CoreMedia/CoreMedia.h>

namespace vesk::mac {

/// What a buffer's first sample carries under `key`, lent by the buffer; null when there is no such
/// thing. Thread: any.
CFTypeRef _Nullable attachment(CMSampleBufferRef _Nonnull buffer, CFStringRef _Nonnull key);

}  // namespace vesk::mac
