#include "agent/server/PageBacklog.h"

#include <gtest/gtest.h>

namespace vesk::agent::VESK_FILE {
namespace {

using namespace std::chrono_literals;
using Kind = PageBacklog::Item::Kind;
using Picture = PageBacklog::Picture;

class PageBacklogTest : public ::testing::Test {
 protected:
  void add(Picture picture, std::byte name = std::byte{0}) {
    backlog_.addVideo({name}, picture, now_);
  }

  /// Thirty pictures a second.
  void addSecond(int seconds = 1) {
    for (int i = 0; i < 30 * seconds; ++i, now_ += 33ms) add(Picture::delta);
  }

  /// Everything that waits, written.
  std::size_t write() {
    std::size_t count = 0;
    for (auto item = backlog_.next(); item; item = backlog_.next()) {
      if (item->kind == Kind::video) ++count;
      if (item->kind == Kind::text) {
        texts_.emplace_back(reinterpret_cast<const char*>(item->bytes.data()), item->bytes.size());
      }
    }
    return count;
  }

  void begin() {
    add(Picture::key);
    write();
    backlog_.arrived(1);
  }

  PageBacklog backlog_;
  PageBacklog::TimePoint now_;
  std::vector<std::string> texts_;
};

TEST_F(PageBacklogTest, KeepsTheOrder) {
  backlog_.addText("a");
  add(Picture::key, std::byte{1});
  backlog_.addMessage({std::byte{2}});
  add(Picture::delta, std::byte{3});
  EXPECT_EQ(backlog_.next()->kind, Kind::text);
  EXPECT_EQ(backlog_.next()->bytes, Bytes{std::byte{1}});
  const auto message = backlog_.next();
  EXPECT_EQ(message->kind, Kind::message);
  EXPECT_EQ(message->bytes, Bytes{std::byte{2}});
  EXPECT_EQ(backlog_.next()->bytes, Bytes{std::byte{3}});
  EXPECT_FALSE(backlog_.next());
  EXPECT_EQ(backlog_.written(), 2U);
}

TEST_F(PageBacklogTest, BeginsWithAKeyFrameThatIsAskedForOnce) {
  EXPECT_TRUE(backlog_.takeKeyFrameWish(now_));
  EXPECT_FALSE(backlog_.takeKeyFrameWish(now_ + 999ms));
  add(Picture::delta);
  EXPECT_EQ(write(), 0U);
  add(Picture::key);
  add(Picture::delta);
  EXPECT_EQ(write(), 2U);
  EXPECT_FALSE(backlog_.takeKeyFrameWish(now_ + 10s));
  EXPECT_EQ(backlog_.takeDropped(), 0U);
  EXPECT_TRUE(texts_.empty());
}

TEST_F(PageBacklogTest, AsksAgainWhenNoKeyFrameComes) {
  EXPECT_TRUE(backlog_.takeKeyFrameWish(now_));
  EXPECT_TRUE(backlog_.takeKeyFrameWish(now_ + 1s));
  EXPECT_FALSE(backlog_.takeKeyFrameWish(now_ + 1s));
}

TEST_F(PageBacklogTest, APageThatReadsGetsEverything) {
  begin();
  for (int i = 0; i < 300; ++i, now_ += 33ms) {
    add(Picture::delta);
    EXPECT_EQ(write(), 1U);
    backlog_.arrived(backlog_.written());
  }
  EXPECT_FALSE(backlog_.takeKeyFrameWish(now_));
}

TEST_F(PageBacklogTest, APageThatStopsForTenSecondsIsHalfASecondBehindAtMost) {
  begin();
  std::size_t most = 0;
  for (int i = 0; i < 300; ++i, now_ += 33ms) {
    // The program's own key frames come too, which are as old as the rest when they are read.
    add(i % 120 == 119 ? Picture::key : Picture::delta);
    most += write();  // the system takes what it is given, the page gets nothing of it
    EXPECT_FALSE(backlog_.takeKeyFrameWish(now_));
  }
  EXPECT_EQ(most, 16U);  // 0, 33, … 495 ms
  EXPECT_EQ(backlog_.takeDropped(), 0U);

  backlog_.arrived(backlog_.written());
  EXPECT_TRUE(backlog_.takeKeyFrameWish(now_));
  add(Picture::delta);
  add(Picture::key);
  EXPECT_EQ(write(), 1U);
  EXPECT_EQ(texts_, std::vector<std::string>{R"({"dropped":285})"});
  EXPECT_EQ(backlog_.takeDropped(), 285U);
  EXPECT_EQ(backlog_.takeDropped(), 0U);
}

TEST_F(PageBacklogTest, WhatWaitsUnwrittenIsDroppedAndWhatIsNoVideoStays) {
  begin();
  add(Picture::delta);
  backlog_.addText("kept");
  addSecond();
  EXPECT_EQ(write(), 0U);
  EXPECT_EQ(texts_, std::vector<std::string>{"kept"});
  EXPECT_TRUE(backlog_.takeKeyFrameWish(now_));
  add(Picture::key);
  EXPECT_EQ(write(), 1U);
  EXPECT_EQ(backlog_.takeDropped(), 31U);
}

TEST_F(PageBacklogTest, HalfASecondExactlyIsNotTooOld) {
  begin();
  add(Picture::delta);
  now_ += 500ms;
  add(Picture::delta);
  EXPECT_EQ(write(), 2U);
  now_ += 1ms;
  add(Picture::delta);
  EXPECT_EQ(write(), 0U);
}

TEST_F(PageBacklogTest, NothingGoesOnBeforeThePageHasCaughtUp) {
  begin();
  add(Picture::delta);
  add(Picture::delta);
  write();
  now_ += 501ms;
  add(Picture::delta);
  backlog_.arrived(2);
  add(Picture::key);
  EXPECT_FALSE(backlog_.takeKeyFrameWish(now_));
  EXPECT_EQ(write(), 0U);
  backlog_.arrived(3);
  EXPECT_TRUE(backlog_.takeKeyFrameWish(now_));
  add(Picture::key);
  EXPECT_EQ(write(), 1U);
}

TEST_F(PageBacklogTest, APageCannotHaveGotWhatWasNotWritten) {
  begin();
  add(Picture::delta);
  backlog_.arrived(1'000'000);
  now_ += 501ms;
  add(Picture::delta);
  EXPECT_EQ(write(), 0U);
}

TEST_F(PageBacklogTest, HugePicturesAreDroppedEarlierButNeverTheOnlyOne) {
  begin();
  backlog_.addVideo(Bytes(PageBacklog::maxVideo + 1), Picture::delta, now_);
  EXPECT_EQ(write(), 1U);
  add(Picture::delta);
  EXPECT_EQ(write(), 0U);
  backlog_.arrived(2);
  EXPECT_TRUE(backlog_.takeKeyFrameWish(now_));
}

TEST_F(PageBacklogTest, WhatWasLostOnTheWayIsDroppedToo) {
  backlog_.loseVideo();
  begin();
  add(Picture::delta);
  backlog_.loseVideo();
  add(Picture::delta);
  EXPECT_EQ(write(), 0U);
  EXPECT_TRUE(backlog_.takeKeyFrameWish(now_));
  add(Picture::key);
  EXPECT_EQ(write(), 1U);
  EXPECT_EQ(backlog_.takeDropped(), 3U);
}

TEST_F(PageBacklogTest, IsOverfullOfWhatIsNoVideo) {
  backlog_.addMessage(Bytes(PageBacklog::maxOther));
  EXPECT_FALSE(backlog_.isOverfull());
  backlog_.addText("x");
  EXPECT_TRUE(backlog_.isOverfull());
  write();
  EXPECT_FALSE(backlog_.isOverfull());
}

}  // namespace
}  // namespace vesk::agent::VESK_FILE
