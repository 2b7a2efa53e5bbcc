#include "agent/server/PageMail.h"

#include <gtest/gtest.h>
#include <poll.h>

namespace vesk::agent::VESK_FILE {
namespace {

bool isReadable(const PageMail& mail) {
  pollfd entry{mail.descriptor(), POLLIN, 0};
  return ::poll(&entry, 1, 0) == 1;
}

TEST(PageMailTest, TellsOfWhatWaits) {
  PageMail mail;
  EXPECT_FALSE(isReadable(mail));
  mail.putFrame({1, {}});
  mail.putNote("a note");
  EXPECT_TRUE(isReadable(mail));
  const auto taken = mail.take();
  ASSERT_EQ(taken.wishes.size(), 2U);
  EXPECT_EQ(std::get<Frame>(taken.wishes[0]).kind, 1);
  EXPECT_EQ(std::get<PageNote>(taken.wishes[1]).text, "a note");
  EXPECT_FALSE(taken.wasFull);
  EXPECT_FALSE(isReadable(mail));
  EXPECT_TRUE(mail.take().wishes.empty());
}

TEST(PageMailTest, HoldsTheViewerUpWhenNobodyTakes) {
  PageMail mail;
  for (std::size_t i = 1; i < PageMail::maxWaiting; ++i) {
    EXPECT_EQ(mail.putFrame({2, {}}), PageMail::Room::some);
  }
  EXPECT_EQ(mail.putFrame({2, {}}), PageMail::Room::none);
  mail.putNote("too much to read");
  const auto taken = mail.take();
  EXPECT_EQ(taken.wishes.size(), PageMail::maxWaiting);
  EXPECT_TRUE(taken.wasFull);
  EXPECT_EQ(mail.putFrame({2, {}}), PageMail::Room::some);
  EXPECT_FALSE(mail.take().wasFull);
}

TEST(PageMailTest, LongFramesFillItEarlier) {
  PageMail mail;
  EXPECT_EQ(mail.putFrame({2, Bytes(PageMail::maxBytes - 1)}), PageMail::Room::some);
  EXPECT_EQ(mail.putFrame({2, Bytes(1)}), PageMail::Room::none);
  EXPECT_TRUE(mail.take().wasFull);
  EXPECT_EQ(mail.putFrame({2, Bytes(1)}), PageMail::Room::some);
}

}  // namespace
}  // namespace vesk::agent::VESK_FILE
