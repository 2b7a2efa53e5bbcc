#include "platform/linux/x11/screen/wholeRows.h"

#include <gtest/gtest.h>

namespace vesk::x11::screen::VESK_FILE {
namespace {

TEST(WholeRowsTest, AreThoseThatRectanglesTouchFromTopToBottom) {
  EXPECT_TRUE(wholeRows({}).empty());
  EXPECT_EQ(wholeRows({{5, 50, 10, 1}, {0, 10, 3, 20}}), (std::vector<Rows>{{10, 30}, {50, 51}}));
}

TEST(WholeRowsTest, AreOneWhereTheyMeet) {
  EXPECT_EQ(wholeRows({{0, 10, 1, 10}, {90, 20, 1, 10}}), (std::vector<Rows>{{10, 30}}));
  EXPECT_EQ(wholeRows({{0, 10, 1, 40}, {90, 20, 1, 10}}), (std::vector<Rows>{{10, 50}}));
  EXPECT_EQ(wholeRows({{0, 10, 1, 10}, {90, 21, 1, 10}}), (std::vector<Rows>{{10, 20}, {21, 31}}));
}

}  // namespace
}  // namespace vesk::x11::screen::VESK_FILE
