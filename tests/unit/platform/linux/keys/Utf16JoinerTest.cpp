#include "platform/linux/keys/Utf16Joiner.h"

#include <gtest/gtest.h>

namespace vesk::keys::VESK_FILE {
namespace {

TEST(Utf16JoinerTest, JoinsPairsWithinARunAndAcrossRuns) {
  Utf16Joiner joiner;
  EXPECT_EQ(joiner.join(u"aé日\xd83d\xde00"), U"aé日\U0001F600");
  EXPECT_EQ(joiner.join(u"x\xdbff"), U"x");
  EXPECT_EQ(joiner.join(u""), U"");
  EXPECT_EQ(joiner.join(u"\xdfffy"), U"\U0010FFFFy");
}

TEST(Utf16JoinerTest, DropsHalvesThatStandAlone) {
  Utf16Joiner joiner;
  EXPECT_EQ(joiner.join(u"a\xde00z"), U"az");
  EXPECT_EQ(joiner.join(u"a\xd83dz"), U"az");
  EXPECT_EQ(joiner.join(u"\xd83d\xd83d\xde00"), U"\U0001F600");
}

TEST(Utf16JoinerTest, ForgetsAHalfWhenTold) {
  Utf16Joiner joiner;
  EXPECT_EQ(joiner.join(u"\xd83d"), U"");
  joiner.reset();
  EXPECT_EQ(joiner.join(u"\xde00z"), U"z");
}

}  // namespace
}  // namespace vesk::keys::VESK_FILE
