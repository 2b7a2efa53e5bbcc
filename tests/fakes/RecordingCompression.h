#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/Compression.h"

namespace vesk::fakes {

/// One frame that a session was given.
struct RecordedFrame {
  ImageBufferRef image;
  HostTime presentationTime;
  bool forceKeyFrame = false;
  CompressionSession::OutputHandler handler;
};

/// What one session was asked for. `calls` names the calls other than properties and frames.
struct RecordedSession {
  CompressionSpecification specification;
  std::vector<std::pair<CompressionProperty, PropertyValue>> properties;
  std::vector<RecordedFrame> frames;
  std::vector<std::string> calls;
  bool alive = true;
};

/// An encoder that encodes nothing: the test calls the frames' handlers. Thread: the test's.
class RecordingCompression final : public Compression {
 public:
  Result makeH264Session(const CompressionSpecification& specification) override {
    if (!givesSession.value_or(status == 0)) return {status, nullptr};
    auto record = std::make_shared<RecordedSession>();
    record->specification = specification;
    sessions.push_back(record);
    return {status, std::make_unique<Session>(*this, record)};
  }

  Status status = 0;
  std::optional<bool> givesSession;  ///< unless it is told: with status zero
  Status propertyStatus = 0;         ///< what setting a property returns
  /// Called by `completeFrames`, where an encoder delivers what is pending.
  std::function<void()> onCompleteFrames;
  std::vector<std::shared_ptr<RecordedSession>> sessions;

 private:
  class Session final : public CompressionSession {
   public:
    Session(RecordingCompression& owner, std::shared_ptr<RecordedSession> record)
        : owner_(owner), record_(std::move(record)) {}
    ~Session() override { record_->alive = false; }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    Status setProperty(CompressionProperty property, PropertyValue value) override {
      record_->properties.emplace_back(property, value);
      return owner_.propertyStatus;
    }
    Status prepareToEncodeFrames() override {
      record_->calls.emplace_back("prepare");
      return owner_.propertyStatus;
    }
    Status encodeFrame(ImageBufferRef image, HostTime presentationTime, bool forceKeyFrame,
                       OutputHandler handler) override {
      record_->frames.push_back(
          {std::move(image), presentationTime, forceKeyFrame, std::move(handler)});
      return 0;
    }
    Status completeFrames() override {
      record_->calls.emplace_back("complete");
      if (owner_.onCompleteFrames) owner_.onCompleteFrames();
      return 0;
    }
    void invalidate() override { record_->calls.emplace_back("invalidate"); }

   private:
    RecordingCompression& owner_;
    std::shared_ptr<RecordedSession> record_;
  };
};

}  // namespace vesk::fakes
