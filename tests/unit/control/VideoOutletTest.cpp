#include "control/VideoOutlet.h"

#include <gtest/gtest.h>

#include <future>
#include <optional>
#include <thread>

#include "fakes/ManualQueues.h"
#include "support/LinkLoop.h"
#include "support/TemporaryFolder.h"
#include "support/UnixListener.h"

namespace vesk::VESK_FILE {
namespace {

using vesk::testing::bytes;

const Bytes key = bytes({0, 0, 0, 1, 0x67, 1});
const Bytes picture = bytes({0, 0, 0, 1, 0x41, 2});

Bytes keyFrameOf(std::size_t size) {
  Bytes large = key;
  large.resize(size);
  return large;
}

class VideoOutletTest : public ::testing::Test {
 protected:
  VideoOutletTest() {
    link_->onConnected = [this] { connected_.set_value(); };
    link_->start();
    peer_.emplace(listener_.accept());
    connected_.get_future().wait();
  }
  ~VideoOutletTest() override {
    clock_.end();
    peer_.reset();
    link_.reset();
    queues_.join();
  }

  /// What the agent gets next: the duration and the access unit.
  std::pair<unsigned, Bytes> heard() {
    const auto frame = peer_->readFrame().value();
    return {std::to_integer<unsigned>(frame.payload.at(0)),
            Bytes(frame.payload.begin() + 4, frame.payload.end())};
  }
  using Heard = std::pair<unsigned, Bytes>;

  /// An encoder whose first picture waits for the agent, which does not read on; one more follows.
  std::thread encoderThatWaits() {
    outlet_.open(link_->connection());
    std::thread encoder([this] {
      outlet_.send(large_, Ticks{1});
      outlet_.send(picture, Ticks{2});
    });
    peer_->read(9);
    return encoder;
  }

  /// What the agent had left to read of the picture.
  void readTheLargePicture() { EXPECT_EQ(peer_->read(large_.size()).size(), large_.size()); }

  const Bytes large_ = keyFrameOf(8'000'000);
  std::promise<void> connected_;
  vesk::testing::TemporaryFolder folder_;
  fakes::ManualClock time_;
  vesk::testing::SteppedClock clock_{time_};
  fakes::ManualQueues manual_{time_};
  vesk::testing::LinkQueues queues_{manual_};
  vesk::testing::UnixListener listener_{folder_.path() / "s"};
  std::shared_ptr<AgentLink> link_ =
      std::make_shared<AgentLink>(queues_, clock_, (folder_.path() / "s").string());
  std::optional<vesk::testing::UnixPeer> peer_;
  int requests_ = 0;
  VideoOutlet outlet_{*link_, [this] { ++requests_; }};
};

TEST_F(VideoOutletTest, HoldsBackWhatComesBeforeItIsOpen) {
  outlet_.send(key, Ticks{1});
  outlet_.send(picture, Ticks{2});
  EXPECT_TRUE(peer_->isSilent());
  outlet_.open(link_->connection());
  outlet_.send(picture, Ticks{3});
  EXPECT_EQ(heard(), (Heard{1, key}));
  EXPECT_EQ(heard(), (Heard{2, picture}));
  EXPECT_EQ(heard(), (Heard{3, picture}));
  EXPECT_EQ(requests_, 0);
}

TEST_F(VideoOutletTest, KeepsFromTheLatestKeyFrameOn) {
  outlet_.send(key, Ticks{1});
  outlet_.send(picture, Ticks{2});
  outlet_.send(key, Ticks{3});
  outlet_.open(link_->connection());
  EXPECT_EQ(heard(), (Heard{3, key}));
  EXPECT_TRUE(peer_->isSilent());
}

TEST_F(VideoOutletTest, AsksForAKeyFrameWhereItCouldNotHoldEverything) {
  outlet_.send(key, Ticks{1});
  for (std::size_t i = 0; i < VideoOutlet::mostHeld; ++i) outlet_.send(picture, Ticks{2});
  outlet_.open(link_->connection());
  EXPECT_EQ(requests_, 1);
  outlet_.send(picture, Ticks{3});
  EXPECT_TRUE(peer_->isSilent());
  outlet_.send(key, Ticks{4});
  outlet_.send(picture, Ticks{5});
  EXPECT_EQ(heard(), (Heard{4, key}));
  EXPECT_EQ(heard(), (Heard{5, picture}));
}

TEST_F(VideoOutletTest, HoldsNoMoreBytesThanItsBound) {
  const Bytes large = keyFrameOf(VideoOutlet::mostHeldBytes);
  outlet_.send(large, Ticks{1});
  outlet_.send(picture, Ticks{2});
  outlet_.open(link_->connection());
  EXPECT_EQ(requests_, 1);
  EXPECT_TRUE(peer_->isSilent());
}

TEST_F(VideoOutletTest, HoldsAsManyBytesAsItsBound) {
  const Bytes large = keyFrameOf(VideoOutlet::mostHeldBytes);
  outlet_.send(large, Ticks{1});
  outlet_.open(link_->connection());
  EXPECT_EQ(requests_, 0);
  std::thread writer([this] { manual_.run(); });
  EXPECT_EQ(peer_->read(9 + large.size()).size(), 9 + large.size());
  writer.join();
}

TEST_F(VideoOutletTest, BeginsWithAKeyFrameWhatever) {
  outlet_.open(link_->connection());
  outlet_.send(picture, Ticks{1});
  outlet_.send(key, Ticks{2});
  EXPECT_EQ(heard(), (Heard{2, key}));
}

TEST_F(VideoOutletTest, HoldsBackAgainOnceItIsShut) {
  outlet_.open(link_->connection());
  outlet_.send(key, Ticks{1});
  EXPECT_EQ(heard(), (Heard{1, key}));
  outlet_.shut();
  outlet_.send(key, Ticks{2});
  outlet_.shut();
  outlet_.send(key, Ticks{3});
  EXPECT_TRUE(peer_->isSilent());
  outlet_.open(link_->connection());
  EXPECT_EQ(heard(), (Heard{3, key}));
}

TEST_F(VideoOutletTest, ShowsNothingOfTheSessionBeforeInTheNext) {
  outlet_.open(link_->connection());
  outlet_.send(key, Ticks{1});
  EXPECT_EQ(heard(), (Heard{1, key}));
  outlet_.shut();
  outlet_.send(key, Ticks{2});
  outlet_.shut();
  outlet_.open(link_->connection());
  EXPECT_EQ(requests_, 0) << "nothing of this session is missing";
  outlet_.send(picture, Ticks{3});
  EXPECT_TRUE(peer_->isSilent()) << "neither what was held nor what no decoder can begin with";
  outlet_.send(key, Ticks{4});
  EXPECT_EQ(heard(), (Heard{4, key}));
}

TEST_F(VideoOutletTest, MissesNothingOfTheSessionBeforeInTheNext) {
  outlet_.send(keyFrameOf(VideoOutlet::mostHeldBytes + 1), Ticks{1});
  outlet_.shut();
  outlet_.open(link_->connection());
  EXPECT_EQ(requests_, 0);
}

TEST_F(VideoOutletTest, HoldsAsMuchAgainFromEachKeyFrameOn) {
  const Bytes large = keyFrameOf(VideoOutlet::mostHeldBytes);
  outlet_.send(large, Ticks{1});
  outlet_.send(picture, Ticks{2});  // too much: all of it is lost
  outlet_.send(large, Ticks{3});
  outlet_.send(key, Ticks{4});
  for (std::size_t i = 1; i < VideoOutlet::mostHeld; ++i) outlet_.send(picture, Ticks{5});
  outlet_.open(link_->connection());
  EXPECT_EQ(requests_, 0);
  EXPECT_EQ(heard(), (Heard{4, key}));
  for (std::size_t i = 1; i < VideoOutlet::mostHeld; ++i) EXPECT_EQ(heard(), (Heard{5, picture}));
}

TEST_F(VideoOutletTest, HoldsNothingBackThatNoDecoderCanBeginWith) {
  outlet_.send(picture, Ticks{1});
  outlet_.open(link_->connection());
  EXPECT_TRUE(peer_->isSilent());
}

TEST_F(VideoOutletTest, WaitsForTheAgentOnTheEncodersThreadAlone) {
  std::thread encoder = encoderThatWaits();
  outlet_.open(link_->connection());  // another start, while the agent does not read
  readTheLargePicture();
  EXPECT_EQ(heard(), (Heard{2, picture}));
  encoder.join();
}

TEST_F(VideoOutletTest, StaysOpenWhenItIsOpenedAgain) {
  outlet_.open(link_->connection());
  outlet_.send(key, Ticks{1});
  outlet_.open(link_->connection());
  outlet_.send(picture, Ticks{2});
  EXPECT_EQ(heard(), (Heard{1, key}));
  EXPECT_EQ(heard(), (Heard{2, picture}));
}

TEST_F(VideoOutletTest, NeverWaitsForTheAgentOnTheMainThread) {
  const Bytes large = keyFrameOf(VideoOutlet::mostHeldBytes - 10);
  outlet_.send(large, Ticks{1});
  outlet_.send(picture, Ticks{2});
  outlet_.open(link_->connection());  // the agent does not read yet
  EXPECT_EQ(requests_, 1);
  std::thread writer([this] { manual_.run(); });
  EXPECT_EQ(peer_->read(9 + large.size()).size(), 9 + large.size());
  writer.join();
  EXPECT_TRUE(peer_->isSilent());
}

TEST_F(VideoOutletTest, LetsAPictureThatWaitsGoWhenItsSessionEnds) {
  std::thread encoder = encoderThatWaits();
  outlet_.stopWaiting();
  encoder.join();
  outlet_.shut();
  std::thread writer([this] { manual_.run(); });
  readTheLargePicture();
  writer.join();
  EXPECT_TRUE(peer_->isSilent());
}

}  // namespace
}  // namespace vesk::VESK_FILE
