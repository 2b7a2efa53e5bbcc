#include "platform/macos/MacScreenCapture.h"

#import <ScreenCaptureKit/ScreenCaptureKit.h>

#include <utility>

#include "platform/macos/MacScreenStream.h"
#include "platform/macos/NativeObject.h"
#include "platform/macos/calledOnce.h"
#include "platform/macos/guarded.h"

namespace vesk::mac {
namespace {

ShareableContent contentOf(SCShareableContent* _Nonnull shareable) {
  ShareableContent content;
  for (SCDisplay* display in shareable.displays) {
    content.displays.push_back(
        {display.displayID, display.width, display.height, nativeObject(display)});
  }
  for (SCRunningApplication* application in shareable.applications) {
    content.applications.push_back({application.processID, nativeObject(application)});
  }
  return content;
}

}  // namespace

void MacScreenCapture::shareableContent(Content completion) {
  const auto complete = calledOnce(std::move(completion));
  const auto answer = ^(SCShareableContent* _Nullable shareable, NSError* _Nullable error) {
    @autoreleasepool {
      if (shareable == nil) {
        complete(std::nullopt, orUnknown(platformError(error)));
      } else {
        complete(contentOf(static_cast<SCShareableContent* _Nonnull>(shareable)), std::nullopt);
      }
    }
  };
  const auto refused = guarded([&] {
    [SCShareableContent getShareableContentExcludingDesktopWindows:NO
                                               onScreenWindowsOnly:YES
                                                 completionHandler:answer];
  });
  if (refused) complete(std::nullopt, refused);
}

std::unique_ptr<ScreenStream> MacScreenCapture::makeStream(
    const ContentFilter& filter, const StreamConfiguration& configuration,
    std::function<void(PlatformError)> onStopped) {
  return std::make_unique<MacScreenStream>(filter, configuration, std::move(onStopped));
}

}  // namespace vesk::mac
