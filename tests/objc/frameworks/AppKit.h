#pragma once

#import <AppKit/AppKit.h>
#import <QuartzCore/QuartzCore.h>

#include <functional>
#include <string>
#include <vector>

/// A stand-in for the windows, alerts and applications of a Mac, and for the person's hands. What
/// the hands do reaches an alert as on a Mac: through the monitors of events first, which may take
/// it away. Thread: main.
namespace vesk::fakes {

struct ScreenOnDesk {
  NSRect frame{};
  bool isNumbered = true;
  unsigned number = 7;
};

struct Desk {
  std::vector<ScreenOnDesk> screens;
  std::size_t mainScreen = 0;  ///< the one where the person works
  int activations = 0;
  bool abortThrows = true;      ///< how `abortModal` ends a loop: by an exception, or by a return
  bool alertThrows = false;     ///< running an alert fails
  bool refusesWindows = false;  ///< making one throws

  /// Runs in each alert, once it is up.
  std::function<void(NSAlert*)> onAlert;
  int alerts = 0;

  /// Other programs' applications, by their process.
  std::vector<pid_t> applications;
  std::vector<pid_t> ended;
  bool refusesToEnd = false;

  /// Those in sight.
  std::vector<NSWindow*> shown;

  void reset();
};
Desk& desk();

/// A key goes down and up, or stays; the system tells the alert what is not taken away.
void keyDown(unsigned short key, double secondsFromNow = 0, bool isRepeat = false);
void keyUp(unsigned short key, double secondsFromNow = 0);

/// A click on that button of the innermost alert.
void click(std::size_t button, double secondsFromNow = 0);

/// The end of the innermost alert, as a press of its button that nobody has to look at.
void respond(NSModalResponse response);

inline constexpr unsigned short returnKey = 0x24;
inline constexpr unsigned short escapeKey = 0x35;

/// The session ends, or somebody asks the application to: it is told, and no loop runs any more.
void quit();

/// What the process asks to be run, one after the other, while alerts are up and otherwise.
void soon(std::function<void()> action);

}  // namespace vesk::fakes

@interface NSAlert (Vesk)
- (std::vector<std::string>)titles;
@end

@interface NSWindow (Vesk)
- (NSRect)frameAtFirst;
- (void)setOcclusionState:(NSWindowOcclusionState)state;
@end

@interface NSView (Vesk)
- (NSArray*)subviews;
@end

@interface NSColor (Vesk)
- (std::vector<double>)components;
@end

@interface NSFont (Vesk)
- (CGFloat)size;
- (NSFontWeight)weight;
@end

@interface CALayer (Vesk)
- (std::vector<double>)componentsOfBackground;
- (std::vector<double>)componentsOfBorder;
@end
