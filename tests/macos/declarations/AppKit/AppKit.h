#pragma once
#include "../Foundation/Foundation.h"

typedef NSInteger NSModalResponse;
typedef NSInteger NSWindowLevel;
typedef NSUInteger NSWindowStyleMask;
typedef NSUInteger NSWindowCollectionBehavior;
typedef CGFloat NSFontWeight;
typedef NSString *NSDeviceDescriptionKey;
typedef NSUInteger NSWindowOcclusionState;
enum : NSWindowOcclusionState { NSWindowOcclusionStateVisible = 1UL << 1 };
enum NSEventType : NSUInteger { NSEventTypeLeftMouseDown = 1, NSEventTypeLeftMouseUp = 2, NSEventTypeKeyDown = 10, NSEventTypeKeyUp = 11 };
typedef unsigned long long NSEventMask;
enum : NSEventMask { NSEventMaskLeftMouseDown = 1ULL << 1, NSEventMaskLeftMouseUp = 1ULL << 2, NSEventMaskKeyDown = 1ULL << 10, NSEventMaskKeyUp = 1ULL << 11 };
static const NSModalResponse NSModalResponseAbort = -1001;
enum : NSWindowStyleMask { NSWindowStyleMaskBorderless = 0 };
enum NSApplicationActivationPolicy : NSInteger { NSApplicationActivationPolicyAccessory = 1 };
enum NSBackingStoreType : NSUInteger { NSBackingStoreBuffered = 2 };
enum NSLineBreakMode : NSUInteger { NSLineBreakByTruncatingMiddle = 5 };
#if defined(__x86_64__)
enum NSTextAlignment : NSInteger { NSTextAlignmentCenter = 2 };
#else
enum NSTextAlignment : NSInteger { NSTextAlignmentCenter = 1 };
#endif

NONNULL_BEGIN
@class CALayer, NSApplication, NSButton, NSColor, NSFont, NSView;
DECLARED NSNotificationName const NSWindowDidBecomeKeyNotification;
DECLARED NSNotificationName const NSWindowDidResignKeyNotification;
DECLARED NSNotificationName const NSWindowDidMoveNotification;
DECLARED NSNotificationName const NSWindowDidResizeNotification;
DECLARED NSNotificationName const NSWindowDidChangeOcclusionStateNotification SINCE(10.9);
DECLARED __kindof NSApplication *_Null_unspecified NSApp;
DECLARED const NSFontWeight NSFontWeightRegular SINCE(10.11);
DECLARED const NSFontWeight NSFontWeightSemibold SINCE(10.11);

@protocol NSApplicationDelegate <NSObject>
- (void)applicationDidFinishLaunching:(NSNotification *)notification;
- (void)applicationWillTerminate:(NSNotification *)notification;
@end
@interface NSResponder : NSObject
@end
@interface NSEvent : NSObject <NSCopying>
@property (readonly) NSEventType type;
@property (readonly) NSTimeInterval timestamp;
@property (readonly) unsigned short keyCode;
@property (getter=isARepeat, readonly) BOOL ARepeat;
+ (nullable id)addLocalMonitorForEventsMatchingMask:(NSEventMask)mask handler:(NSEvent *_Nullable (^)(NSEvent *event))handler SINCE(10.6);
+ (void)removeMonitor:(id)monitor SINCE(10.6);
@end
@interface NSApplication : NSResponder
@property (class, readonly, strong) __kindof NSApplication *sharedApplication;
@property (nullable, weak) id<NSApplicationDelegate> delegate;
- (BOOL)setActivationPolicy:(NSApplicationActivationPolicy)policy SINCE(10.6);
- (void)run;
- (void)abortModal;
- (void)activateIgnoringOtherApps:(BOOL)ignoreOtherApps UNTIL(27.0);
- (void)activate SINCE(14.0);
@end
@interface NSRunningApplication : NSObject
+ (NSArray<NSRunningApplication *> *)runningApplicationsWithBundleIdentifier:(NSString *)identifier SINCE(10.6);
+ (nullable instancetype)runningApplicationWithProcessIdentifier:(pid_t)process SINCE(10.6);
@property (readonly) pid_t processIdentifier;
- (BOOL)forceTerminate SINCE(10.6);
@end
@interface NSScreen : NSObject
@property (class, readonly, copy) NSArray<NSScreen *> *screens;
@property (class, nullable, readonly, strong) NSScreen *mainScreen;
@property (readonly) NSRect frame;
@property (readonly, copy) NSDictionary<NSDeviceDescriptionKey, id> *deviceDescription;
@end
@interface NSWindow : NSResponder
- (instancetype)initWithContentRect:(NSRect)frame styleMask:(NSWindowStyleMask)style backing:(NSBackingStoreType)backing defer:(BOOL)defer;
@property (getter=isReleasedWhenClosed) BOOL releasedWhenClosed;
@property (getter=isOpaque) BOOL opaque;
@property (null_resettable, copy) NSColor *backgroundColor;
@property BOOL hasShadow;
@property BOOL ignoresMouseEvents;
@property NSWindowLevel level;
@property (readonly) NSWindowOcclusionState occlusionState SINCE(10.9);
@property NSWindowCollectionBehavior collectionBehavior;
@property (nullable, strong) __kindof NSView *contentView;
- (void)orderFrontRegardless;
- (void)orderOut:(nullable id)sender;
@end
@interface NSView : NSResponder
- (instancetype)initWithFrame:(NSRect)frame;
@property NSRect frame;
@property BOOL wantsLayer;
@property (nullable, strong) CALayer *layer;
- (void)addSubview:(NSView *)view;
@end
@interface NSControl : NSView
@property (nullable, strong) NSFont *font;
@property NSTextAlignment alignment;
@property NSLineBreakMode lineBreakMode SINCE(10.10);
@property (copy) NSString *stringValue;
@end
@interface NSButton : NSControl
@end
@interface NSTextField : NSControl
+ (instancetype)labelWithString:(NSString *)text SINCE(10.12);
@property (nullable, copy) NSColor *textColor;
@end
@interface NSColor : NSObject <NSCopying>
@property (class, strong, readonly) NSColor *clearColor;
@property (class, strong, readonly) NSColor *whiteColor;
@property (readonly) CGColorRef CGColor __attribute__((objc_returns_inner_pointer)) SINCE(10.8);
+ (NSColor *)colorWithCalibratedRed:(CGFloat)red green:(CGFloat)green blue:(CGFloat)blue alpha:(CGFloat)alpha;
- (NSColor *)colorWithAlphaComponent:(CGFloat)alpha;
@end
@interface NSFont : NSObject
+ (NSFont *)systemFontOfSize:(CGFloat)size weight:(NSFontWeight)weight SINCE(10.11);
@end
@interface NSAlert : NSObject
@property (copy) NSString *messageText;
@property (copy) NSString *informativeText;
@property (readonly, strong) NSWindow *window;
- (NSButton *)addButtonWithTitle:(NSString *)title;
- (NSModalResponse)runModal;
@end
NONNULL_END
