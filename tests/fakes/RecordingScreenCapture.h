#pragma once

#include <atomic>
#include <memory>
#include <utility>
#include <vector>

#include "platform/ScreenCapture.h"

namespace vesk::fakes {

/// What one stream was asked for, and the ways to make it call back.
struct RecordedStream {
  ContentFilter filter;
  StreamConfiguration configuration;
  std::function<void(PlatformError)> onStopped;
  ScreenStream::Output output;
  SerialQueue* queue = nullptr;
  Completion started;  ///< held back until `answerStart`
  int stops = 0;
  int withdrawalsBefore = 0;
  bool alive = true;

  /// Answers a start that was held back. A start is answered once, and its call-back, which may
  /// own the stream, is let go of then.
  void answerStart(const std::optional<PlatformError>& error) {
    std::exchange(started, nullptr)(error);
  }

  void deliver(const StreamSample& sample, StreamOutputType type = StreamOutputType::screen) const {
    queue->async([output = output, sample, type] { output(sample, type); });
  }
};

/// A window system that answers as the test says and keeps what it was asked. Completions run at
/// once. Thread: the test's.
class RecordingScreenCapture final : public ScreenCapture {
 public:
  void shareableContent(Content completion) override {
    ++contentRequests;
    if (beforeContent) std::exchange(beforeContent, nullptr)();
    if (contentError) return completion(std::nullopt, contentError);
    completion(content, std::nullopt);
  }

  std::unique_ptr<ScreenStream> makeStream(const ContentFilter& filter,
                                           const StreamConfiguration& configuration,
                                           std::function<void(PlatformError)> onStopped) override {
    auto record = std::make_shared<RecordedStream>();
    record->filter = filter;
    record->configuration = configuration;
    record->onStopped = std::move(onStopped);
    record->withdrawalsBefore = withdrawals;
    streams.push_back(record);
    return std::make_unique<Stream>(*this, record);
  }

  ShareableContent content;
  std::optional<PlatformError> contentError;
  std::optional<PlatformError> outputError;
  std::optional<PlatformError> startError;
  std::optional<PlatformError> stopError;
  std::function<void()> beforeContent;  ///< what happens, once, while content is looked for
  bool holdStart = false;               ///< leave the answer to `RecordedStream::answerStart`
  int contentRequests = 0;
  std::atomic<int> withdrawals = 0;
  std::vector<std::shared_ptr<RecordedStream>> streams;

  void withdrawQuestions() override { ++withdrawals; }

 private:
  class Stream final : public ScreenStream {
   public:
    Stream(RecordingScreenCapture& owner, std::shared_ptr<RecordedStream> record)
        : owner_(owner), record_(std::move(record)) {}
    ~Stream() override { record_->alive = false; }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    std::optional<PlatformError> addOutput(Output output, SerialQueue& queue) override {
      record_->output = std::move(output);
      record_->queue = &queue;
      return owner_.outputError;
    }
    void startCapture(Completion completion) override {
      if (owner_.holdStart) {
        record_->started = std::move(completion);
      } else {
        completion(owner_.startError);
      }
    }
    void stopCapture(Completion completion) override {
      ++record_->stops;
      completion(owner_.stopError);
    }

   private:
    RecordingScreenCapture& owner_;
    std::shared_ptr<RecordedStream> record_;
  };
};

}  // namespace vesk::fakes
