#pragma once
#include "../CoreGraphics/CoreGraphics.h"

typedef struct BRIDGED_TO(id) __CVBuffer *CVBufferRef;
typedef CVBufferRef CVImageBufferRef;
typedef CVImageBufferRef CVPixelBufferRef;

NONNULL_BEGIN OWNERSHIP_BY_NAME_BEGIN
DECLARED int32_t CVPixelBufferCreate(CFAllocatorRef _Nullable allocator, size_t width, size_t height, OSType format, CFDictionaryRef _Nullable attributes, __attribute__((cf_returns_retained)) CVPixelBufferRef _Nullable *_Nonnull buffer);
DECLARED size_t CVPixelBufferGetWidth(CVPixelBufferRef buffer);
DECLARED size_t CVPixelBufferGetHeight(CVPixelBufferRef buffer);
OWNERSHIP_BY_NAME_END NONNULL_END
