#pragma once
#include "../CoreVideo/CoreVideo.h"

#pragma pack(push, 4)
typedef struct { int64_t value; int32_t timescale; uint32_t flags; int64_t epoch; } CMTime;
#pragma pack(pop)
static_assert(sizeof(CMTime) == 24);
typedef struct BRIDGED_TO(id) opaqueCMSampleBuffer *CMSampleBufferRef;
typedef struct BRIDGED_TO(id) OpaqueCMBlockBuffer *CMBlockBufferRef;
typedef struct BRIDGED_TO(id) OpaqueCMClock *CMClockRef;
typedef const struct BRIDGED_TO(id) opaqueCMFormatDescription *CMFormatDescriptionRef;
typedef FourCharCode CMVideoCodecType;
enum : CMVideoCodecType { kCMVideoCodecType_H264 = 0x61766331 };

NONNULL_BEGIN OWNERSHIP_BY_NAME_BEGIN
DECLARED const CMTime kCMTimeInvalid;
DECLARED const CFStringRef kCMSampleAttachmentKey_NotSync;
DECLARED CMTime CMTimeMake(int64_t value, int32_t timescale);
DECLARED CMClockRef CMClockGetHostTimeClock(void) SINCE(10.8);
DECLARED CMTime CMClockGetTime(CMClockRef clock) SINCE(10.8);
DECLARED Boolean CMSampleBufferIsValid(CMSampleBufferRef buffer);
DECLARED CMBlockBufferRef _Nullable CMSampleBufferGetDataBuffer(CMSampleBufferRef buffer);
DECLARED CVImageBufferRef _Nullable CMSampleBufferGetImageBuffer(CMSampleBufferRef buffer);
DECLARED CMFormatDescriptionRef _Nullable CMSampleBufferGetFormatDescription(CMSampleBufferRef buffer);
DECLARED CFArrayRef _Nullable CMSampleBufferGetSampleAttachmentsArray(CMSampleBufferRef buffer, Boolean createIfNecessary);
DECLARED size_t CMBlockBufferGetDataLength(CMBlockBufferRef buffer);
DECLARED OSStatus CMBlockBufferCopyDataBytes(CMBlockBufferRef buffer, size_t offset, size_t length, void *destination);
DECLARED OSStatus CMVideoFormatDescriptionGetH264ParameterSetAtIndex(CMFormatDescriptionRef format, size_t index, const uint8_t *_Nullable *_Nullable bytes, size_t *_Nullable size, size_t *_Nullable count, int *_Nullable lengthSize) SINCE(10.9);
OWNERSHIP_BY_NAME_END NONNULL_END
