#include "platform/macos/MacProcesses.h"

#import <AppKit/AppKit.h>

#include "platform/macos/Text.h"

namespace vesk::mac {

std::optional<std::string> MacProcesses::mainBundleIdentifier() const {
  NSString* const identifier = NSBundle.mainBundle.bundleIdentifier;
  if (identifier == nil) return std::nullopt;
  return toUtf8(identifier);
}

std::vector<ProcessId> MacProcesses::runningApplications(std::string_view bundleIdentifier) const {
  NSArray<NSRunningApplication*>* const running = [NSRunningApplication
      runningApplicationsWithBundleIdentifier:toNSString(std::string(bundleIdentifier))];
  std::vector<ProcessId> found;
  for (NSRunningApplication* application in running) {
    found.push_back(application.processIdentifier);
  }
  return found;
}

bool MacProcesses::forceTerminate(ProcessId process) {
  if (!isOneProcess(process)) return false;
  NSRunningApplication* const application =
      [NSRunningApplication runningApplicationWithProcessIdentifier:process];
  return [application forceTerminate];
}

}  // namespace vesk::mac
