#include "agent/LineSplitter.h"

#include <gtest/gtest.h>

namespace vesk::agent::VESK_FILE {
namespace {

TEST(LineSplitterTest, CutsLinesHoweverTheyArrive) {
  LineSplitter lines;
  lines.append("on");
  EXPECT_FALSE(lines.next());
  lines.append("e\n\ntw");
  EXPECT_EQ(lines.next(), "one");
  EXPECT_EQ(lines.next(), "");
  EXPECT_FALSE(lines.next());
  lines.append(std::string_view("o\r\0\n", 4));
  EXPECT_EQ(lines.next(), std::string("two\r\0", 5));
}

TEST(LineSplitterTest, TakesALastLineWithoutItsLineFeed) {
  LineSplitter lines;
  lines.append("one\ntwo");
  lines.end();
  EXPECT_EQ(lines.next(), "one");
  EXPECT_EQ(lines.next(), "two");
  lines.end();
  EXPECT_FALSE(lines.next());
}

}  // namespace
}  // namespace vesk::agent::VESK_FILE
