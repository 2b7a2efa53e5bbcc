#pragma once
#include "../CoreMedia/CoreMedia.h"

typedef struct BRIDGED_TO(id) OpaqueVTCompressionSession *VTCompressionSessionRef;
typedef CFTypeRef VTSessionRef;
typedef uint32_t VTEncodeInfoFlags;
typedef void (*VTCompressionOutputCallback)(void *_Nullable context, void *_Nullable frameContext, OSStatus status, VTEncodeInfoFlags flags, CMSampleBufferRef _Nullable sample);
typedef void (^VTCompressionOutputHandler)(OSStatus status, VTEncodeInfoFlags flags, CMSampleBufferRef _Nullable sample);

NONNULL_BEGIN
DECLARED const CFStringRef kVTVideoEncoderSpecification_EnableHardwareAcceleratedVideoEncoder SINCE(10.9);
DECLARED const CFStringRef kVTCompressionPropertyKey_RealTime SINCE(10.9);
DECLARED const CFStringRef kVTCompressionPropertyKey_ProfileLevel SINCE(10.8);
DECLARED const CFStringRef kVTCompressionPropertyKey_AllowFrameReordering SINCE(10.8);
DECLARED const CFStringRef kVTCompressionPropertyKey_AverageBitRate SINCE(10.8);
DECLARED const CFStringRef kVTCompressionPropertyKey_ExpectedFrameRate SINCE(10.8);
DECLARED const CFStringRef kVTCompressionPropertyKey_MaxKeyFrameInterval SINCE(10.8);
DECLARED const CFStringRef kVTCompressionPropertyKey_MaxKeyFrameIntervalDuration SINCE(10.8);
DECLARED const CFStringRef kVTProfileLevel_H264_ConstrainedBaseline_AutoLevel SINCE(12.0);
DECLARED const CFStringRef kVTEncodeFrameOptionKey_ForceKeyFrame SINCE(10.8);
DECLARED OSStatus VTCompressionSessionCreate(CFAllocatorRef _Nullable allocator, int32_t width, int32_t height, CMVideoCodecType codec, CFDictionaryRef _Nullable encoder, CFDictionaryRef _Nullable sourceImages, CFAllocatorRef _Nullable dataAllocator, VTCompressionOutputCallback _Nullable callback, void *_Nullable context, __attribute__((cf_returns_retained)) VTCompressionSessionRef _Nullable *_Nonnull session) SINCE(10.8);
DECLARED OSStatus VTSessionSetProperty(VTSessionRef session, CFStringRef key, CFTypeRef _Nullable value) SINCE(10.8);
DECLARED OSStatus VTCompressionSessionPrepareToEncodeFrames(VTCompressionSessionRef session) SINCE(10.9);
DECLARED OSStatus VTCompressionSessionEncodeFrameWithOutputHandler(VTCompressionSessionRef session, CVImageBufferRef image, CMTime presentationTime, CMTime duration, CFDictionaryRef _Nullable properties, VTEncodeInfoFlags *_Nullable flags, VTCompressionOutputHandler handler) SINCE(10.11);
DECLARED OSStatus VTCompressionSessionCompleteFrames(VTCompressionSessionRef session, CMTime until) SINCE(10.8);
DECLARED void VTCompressionSessionInvalidate(VTCompressionSessionRef session) SINCE(10.8);
NONNULL_END
