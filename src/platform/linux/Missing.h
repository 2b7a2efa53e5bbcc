#pragma once

#include "platform/Compression.h"
#include "platform/ScreenCapture.h"

/// What this platform cannot do yet, refused by each interface's own way of refusing: a session
/// fails to start and the agent is told why. Thread: any. Owns: nothing.
namespace vesk::missing {

class ScreenCapture final : public vesk::ScreenCapture {
 public:
  void shareableContent(Content completion) override;
  std::unique_ptr<ScreenStream> makeStream(const ContentFilter& filter,
                                           const StreamConfiguration& configuration,
                                           std::function<void(PlatformError)> onStopped) override;
};

class Compression final : public vesk::Compression {
 public:
  Result makeH264Session(const CompressionSpecification& specification) override;
};

}  // namespace vesk::missing
