#include "agent/Mailbox.h"

#include <gtest/gtest.h>

namespace vesk::agent::VESK_FILE {
namespace {

using Found = Mailbox::Found;

TEST(MailboxTest, PassesEverythingUpToTheMessageThatFits) {
  Mailbox mailbox;
  for (const auto* op : {"hello", "state", "started", "state"}) mailbox.add(op);
  EXPECT_EQ(mailbox.take("started"), Found::yes);
  EXPECT_EQ(mailbox.take("hello"), Found::no);
  EXPECT_EQ(mailbox.take("started"), Found::no);
  EXPECT_EQ(mailbox.take("state"), Found::yes);
  EXPECT_EQ(mailbox.take("state"), Found::no);
}

TEST(MailboxTest, ForgetsWhatIsCleared) {
  Mailbox mailbox;
  mailbox.add("hello");
  mailbox.clear();
  EXPECT_EQ(mailbox.take("hello"), Found::no);
}

TEST(MailboxTest, KeepsTheNewestOnly) {
  Mailbox mailbox;
  mailbox.add("first");
  mailbox.add("second");
  for (std::size_t i = 1; i < Mailbox::limit; ++i) mailbox.add("more");
  EXPECT_EQ(mailbox.take("first"), Found::no);
  EXPECT_EQ(mailbox.take("second"), Found::yes);
}

}  // namespace
}  // namespace vesk::agent::VESK_FILE
