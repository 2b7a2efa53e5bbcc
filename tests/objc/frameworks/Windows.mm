#include <utility>

#include "objc/frameworks/AppKit.h"
#include "objc/frameworks/Foundation.h"

using vesk::fakes::desk;

NSNotificationName const NSWindowDidBecomeKeyNotification = @"NSWindowDidBecomeKeyNotification";
NSNotificationName const NSWindowDidResignKeyNotification = @"NSWindowDidResignKeyNotification";
NSNotificationName const NSWindowDidMoveNotification = @"NSWindowDidMoveNotification";
NSNotificationName const NSWindowDidResizeNotification = @"NSWindowDidResizeNotification";
NSNotificationName const NSWindowDidChangeOcclusionStateNotification =
    @"NSWindowDidChangeOcclusionStateNotification";
const NSFontWeight NSFontWeightRegular = 0;
const NSFontWeight NSFontWeightSemibold = 0.3;

@implementation NSResponder
@end

@implementation NSScreen {
  vesk::fakes::ScreenOnDesk screen_;
}
+ (NSScreen*)made:(vesk::fakes::ScreenOnDesk)screen {
  NSScreen* const made = [NSScreen new];
  made->screen_ = screen;
  return made;
}
+ (NSArray<NSScreen*>*)screens {
  NSMutableArray* const all = [NSMutableArray array];
  for (const auto& each : desk().screens) [all addObject:[NSScreen made:each]];
  return all;
}
+ (NSScreen*)mainScreen {
  const auto& all = desk().screens;
  return all.empty() ? nil : [NSScreen made:all.at(desk().mainScreen)];
}
- (NSRect)frame {
  return screen_.frame;
}
- (NSDictionary*)deviceDescription {
  id const number = screen_.isNumbered ? [NSNumber numberOf:screen_.number] : @"none";
  return [NSDictionary dictionaryOf:number for:@"NSScreenNumber"];
}
@end

@interface VeskColour : NSObject
@end
@implementation VeskColour {
 @public
  std::vector<double> components_;
}
@end

/// The colour of the drawing library belongs to it.
@implementation NSColor {
  VeskColour* colour_;
}
+ (NSColor*)colorWithCalibratedRed:(CGFloat)red
                             green:(CGFloat)green
                              blue:(CGFloat)blue
                             alpha:(CGFloat)alpha {
  NSColor* const made = [NSColor new];
  made->colour_ = [VeskColour new];
  made->colour_->components_ = {red, green, blue, alpha};
  return made;
}
+ (NSColor*)clearColor {
  return [NSColor colorWithCalibratedRed:0 green:0 blue:0 alpha:0];
}
+ (NSColor*)whiteColor {
  return [NSColor colorWithCalibratedRed:1 green:1 blue:1 alpha:1];
}
- (NSColor*)colorWithAlphaComponent:(CGFloat)alpha {
  const auto& own = colour_->components_;
  return [NSColor colorWithCalibratedRed:own[0] green:own[1] blue:own[2] alpha:alpha];
}
- (CGColorRef)CGColor {
  return (__bridge CGColorRef)colour_;
}
- (std::vector<double>)components {
  return colour_->components_;
}
@end

@implementation NSFont {
  CGFloat size_;
  NSFontWeight weight_;
}
+ (NSFont*)systemFontOfSize:(CGFloat)size weight:(NSFontWeight)weight {
  NSFont* const made = [NSFont new];
  made->size_ = size;
  made->weight_ = weight;
  return made;
}
- (CGFloat)size {
  return size_;
}
- (NSFontWeight)weight {
  return weight_;
}
@end

/// A layer holds its colours.
@implementation CALayer {
  VeskColour* background_;
  VeskColour* border_;
}
- (CGColorRef)backgroundColor {
  return (__bridge CGColorRef)background_;
}
- (void)setBackgroundColor:(CGColorRef)colour {
  background_ = (__bridge VeskColour*)colour;
}
- (CGColorRef)borderColor {
  return (__bridge CGColorRef)border_;
}
- (void)setBorderColor:(CGColorRef)colour {
  border_ = (__bridge VeskColour*)colour;
}
- (std::vector<double>)componentsOfBackground {
  return background_ == nil ? std::vector<double>() : background_->components_;
}
- (std::vector<double>)componentsOfBorder {
  return border_ == nil ? std::vector<double>() : border_->components_;
}
@end

@implementation NSView {
  NSMutableArray* subviews_;
  BOOL wantsLayer_;
}
- (instancetype)initWithFrame:(NSRect)frame {
  self = [super init];
  self.frame = frame;
  subviews_ = [NSMutableArray array];
  return self;
}
- (BOOL)wantsLayer {
  return wantsLayer_;
}
- (void)setWantsLayer:(BOOL)wanted {
  wantsLayer_ = wanted;
  self.layer = wanted ? [CALayer new] : nil;
}
- (void)addSubview:(NSView*)view {
  [subviews_ addObject:view];
}
- (NSArray*)subviews {
  return subviews_;
}
@end

@implementation NSControl
@end
@implementation NSButton
@end
@implementation NSTextField
+ (instancetype)labelWithString:(NSString*)text {
  NSTextField* const label = [[self alloc] initWithFrame:NSMakeRect(0, 0, 0, 0)];
  label.stringValue = text;
  return label;
}
@end

@implementation NSWindow {
  NSRect frame_;
  NSColor* backgroundColor_;
  NSWindowOcclusionState occlusionState_;
}
- (instancetype)init {
  return [self initWithContentRect:NSMakeRect(0, 0, 0, 0)
                         styleMask:NSWindowStyleMaskBorderless
                           backing:NSBackingStoreBuffered
                             defer:NO];
}
- (instancetype)initWithContentRect:(NSRect)frame
                          styleMask:(NSWindowStyleMask)style
                            backing:(NSBackingStoreType)backing
                              defer:(BOOL)defer {
  self = [super init];
  if (desk().refusesWindows) @throw [NSException exceptionOf:@"no window"];
  frame_ = frame;
  self.releasedWhenClosed = YES;
  self.opaque = YES;
  self.hasShadow = YES;
  return self;
}
- (NSColor*)backgroundColor {
  return backgroundColor_ == nil ? NSColor.whiteColor : backgroundColor_;
}
- (void)setBackgroundColor:(NSColor*)colour {
  backgroundColor_ = colour;
}
- (NSWindowOcclusionState)occlusionState {
  return occlusionState_;
}
- (void)setOcclusionState:(NSWindowOcclusionState)state {
  occlusionState_ = state;
  [NSNotificationCenter.defaultCenter post:NSWindowDidChangeOcclusionStateNotification object:self];
}
- (NSRect)frameAtFirst {
  return frame_;
}
- (void)orderFrontRegardless {
  [self orderOut:nil];
  desk().shown.push_back(self);
}
- (void)orderOut:(id)sender {
  std::erase(desk().shown, self);
}
@end
