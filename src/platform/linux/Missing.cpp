#include "platform/linux/Missing.h"

#include "platform/Fatal.h"

namespace vesk::missing {
namespace {

constexpr auto sentence = "This version cannot record the screen on this system.";

}  // namespace

void ScreenCapture::shareableContent(Content completion) {
  completion(std::nullopt, PlatformError{sentence});
}

std::unique_ptr<ScreenStream> ScreenCapture::makeStream(const ContentFilter&,
                                                        const StreamConfiguration&,
                                                        std::function<void(PlatformError)>) {
  fatal("a stream was asked for where nothing can be shared");
}

Compression::Result Compression::makeH264Session(const CompressionSpecification&) {
  return {-1, nullptr};
}

}  // namespace vesk::missing
