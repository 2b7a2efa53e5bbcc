#pragma once

#include <gtest/gtest.h>

#include <condition_variable>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "fakes/ManualQueues.h"
#include "link/AgentLink.h"
#include "support/LinkLoop.h"
#include "support/LogLines.h"
#include "support/TemporaryFolder.h"
#include "support/UnixListener.h"

namespace vesk::testing {

/// What the callbacks were told, in order, to be waited for.
class Told {
 public:
  void add(std::string event) {
    const std::lock_guard lock(mutex_);
    events_.push_back(std::move(event));
    changed_.notify_all();
  }
  std::vector<std::string> waitFor(std::size_t count) {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, longestWait, [&] { return events_.size() >= count; });
    return events_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::string> events_;
};

inline std::string textOf(ByteView data) {
  return {reinterpret_cast<const char*>(data.data()), data.size()};
}

/// A link with its agent at the other end of a real socket. The link reads on a thread of its own;
/// what it finishes later runs when the test says so.
class LinkFixture : public ::testing::Test {
 protected:
  LinkFixture() {
    link_->onConnected = [this] { told_.add("connected"); };
    link_->onDisconnected = [this] { told_.add("disconnected"); };
    link_->onControl = [this](const Message& message) {
      told_.add("control " + message.string("op").value_or("?"));
    };
    link_->onInput = [this](ByteView data) { told_.add("input " + textOf(data)); };
  }

  ~LinkFixture() override {
    clock_.end();
    peer_.reset();
    listener_.reset();
    link_.reset();
    queues_.join();
  }

  /// Starts the link with an agent that listens, up to the connection.
  void connect() {
    listener_.emplace(path_);
    link_->start();
    peer_.emplace(listener_->accept());
    told_.waitFor(1);
  }

  /// The agent goes, and the next one comes.
  void replaceAgent() {
    const auto before = told_.waitFor(0).size();
    peer_->close();
    clock_.waitForSleep();
    clock_.wake();
    peer_.emplace(listener_->accept());
    told_.waitFor(before + 2);
  }

  void send(FrameKind kind, std::string_view payload) const {
    peer_->write(frameBytes(kind, textBytes(payload)));
  }

  TemporaryFolder folder_;
  std::filesystem::path path_ = folder_.path() / "agent.sock";
  LogLines log_;
  fakes::ManualClock time_;
  SteppedClock clock_{time_};
  fakes::ManualQueues manual_{time_};
  LinkQueues queues_{manual_};
  Told told_;
  std::optional<UnixListener> listener_;
  std::optional<UnixPeer> peer_;
  std::shared_ptr<AgentLink> link_ = std::make_shared<AgentLink>(queues_, clock_, path_.string());
};

}  // namespace vesk::testing
