#pragma once
#include "../Foundation/Foundation.h"

typedef NSUInteger CACornerMask;
enum : CACornerMask { kCALayerMinXMinYCorner = 1, kCALayerMaxXMinYCorner = 2 };

NONNULL_BEGIN
@interface CALayer : NSObject
@property (nullable) CGColorRef backgroundColor;
@property (nullable) CGColorRef borderColor;
@property CGFloat borderWidth;
@property CGFloat cornerRadius;
@property CACornerMask maskedCorners SINCE(10.13);
@end
NONNULL_END
