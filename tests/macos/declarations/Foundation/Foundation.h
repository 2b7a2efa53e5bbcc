#pragma once
#include "../CoreFoundation/CoreFoundation.h"
#include "../CoreGraphics/CoreGraphics.h"
#include <dispatch/dispatch.h>
#include <objc/NSObject.h>

typedef CGRect NSRect;
typedef struct { NSUInteger location, length; } NSRange;
typedef struct { unsigned long state; __unsafe_unretained id _Nullable *_Nullable itemsPtr; unsigned long *_Nullable mutationsPtr; unsigned long extra[5]; } NSFastEnumerationState;
enum : NSUInteger { NSUTF8StringEncoding = 4 };
static inline NSRect NSMakeRect(CGFloat x, CGFloat y, CGFloat width, CGFloat height) { return CGRectMake(x, y, width, height); }

typedef uint64_t NSActivityOptions;
enum : NSActivityOptions { NSActivityUserInitiatedAllowingIdleSystemSleep = 0x00FFFFFFULL & ~(1ULL << 20) };

NONNULL_BEGIN
@class NSError, NSOperationQueue, NSString, NSTimer;
typedef NSString *NSRunLoopMode;
typedef NSString *NSNotificationName;
DECLARED NSRunLoopMode const NSRunLoopCommonModes SINCE(10.5);

@protocol NSCopying @end
@protocol NSFastEnumeration
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState *)state objects:(__unsafe_unretained id _Nullable [_Nonnull])buffer count:(NSUInteger)count;
@end

@interface NSCharacterSet : NSObject
@property (class, readonly, copy) NSCharacterSet *whitespaceAndNewlineCharacterSet;
@end
@class NSArray<ObjectType>;
typedef unsigned short unichar;
@interface NSString : NSObject <NSCopying>
@property (readonly) NSUInteger length;
@property (nullable, readonly) const char *UTF8String __attribute__((objc_returns_inner_pointer));
- (nullable instancetype)initWithBytes:(const void *)bytes length:(NSUInteger)length encoding:(NSUInteger)encoding;
- (NSString *)stringByAppendingString:(NSString *)text;
- (NSString *)substringFromIndex:(NSUInteger)from;
- (NSString *)substringToIndex:(NSUInteger)to;
- (unichar)characterAtIndex:(NSUInteger)index;
- (NSRange)rangeOfComposedCharacterSequenceAtIndex:(NSUInteger)index;
- (NSArray<NSString *> *)componentsSeparatedByCharactersInSet:(NSCharacterSet *)separators;
@end
@interface NSConstantString : NSString
@end
@interface NSValue : NSObject <NSCopying>
@end
@interface NSNumber : NSValue
@property (readonly) unsigned int unsignedIntValue;
@property (readonly) NSInteger integerValue;
@end
@interface NSArray<__covariant ObjectType> : NSObject <NSCopying, NSFastEnumeration>
@property (nullable, readonly) ObjectType firstObject;
+ (instancetype)array;
+ (instancetype)arrayWithObjects:(const ObjectType _Nonnull [_Nonnull])objects count:(NSUInteger)count;
- (NSString *)componentsJoinedByString:(NSString *)separator;
@end
@interface NSMutableArray<ObjectType> : NSArray<ObjectType>
- (void)addObject:(ObjectType)object;
@end
@interface NSDictionary<__covariant KeyType, __covariant ObjectType> : NSObject <NSCopying, NSFastEnumeration>
- (nullable ObjectType)objectForKeyedSubscript:(KeyType)key;
@end
@interface NSError : NSObject <NSCopying>
@property (readonly, copy) NSString *localizedDescription;
@end
@interface NSException : NSObject
@property (nullable, readonly, copy) NSString *reason;
@end
@interface NSNotification : NSObject
@end
@interface NSNotificationCenter : NSObject
@property (class, readonly, strong) NSNotificationCenter *defaultCenter;
- (id<NSObject>)addObserverForName:(nullable NSNotificationName)name object:(nullable id)object queue:(nullable NSOperationQueue *)queue usingBlock:(void (^)(NSNotification *notification))block SINCE(10.6);
- (void)removeObserver:(id)observer;
@end
@interface NSProcessInfo : NSObject
@property (class, readonly, strong) NSProcessInfo *processInfo;
@property (readonly) NSTimeInterval systemUptime SINCE(10.6);
- (id<NSObject>)beginActivityWithOptions:(NSActivityOptions)options reason:(NSString *)reason SINCE(10.9);
- (void)endActivity:(id<NSObject>)activity SINCE(10.9);
@end
@interface NSBundle : NSObject
@property (class, readonly, strong) NSBundle *mainBundle;
@property (nullable, readonly, copy) NSString *bundleIdentifier;
@end
@interface NSRunLoop : NSObject
@property (class, readonly, strong) NSRunLoop *mainRunLoop;
- (void)addTimer:(NSTimer *)timer forMode:(NSRunLoopMode)mode;
@end
@interface NSTimer : NSObject
+ (NSTimer *)timerWithTimeInterval:(NSTimeInterval)interval repeats:(BOOL)repeats block:(void (^)(NSTimer *timer))block SINCE(10.12);
- (void)invalidate;
@end
NONNULL_END
