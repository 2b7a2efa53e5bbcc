#include "agent/Console.h"

#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>

namespace vesk::agent::VESK_FILE {
namespace {

TEST(ConsoleTest, KeepsMessagesAndNotesApart) {
  std::ostringstream output;
  std::ostringstream errors;
  Console console(output, errors, Console::Notes::shown);
  console.message("{}");
  console.note("listening");
  console.error("protocol error");
  console.page("a\nb\n");
  EXPECT_EQ(output.str(), "{}\n");
  EXPECT_EQ(errors.str(), "vesk-agent: listening\nvesk-agent: protocol error\na\nb\n");
}

TEST(ConsoleTest, HidesNotesButNoErrors) {
  std::ostringstream output;
  std::ostringstream errors;
  Console console(output, errors, Console::Notes::hidden);
  console.note("listening");
  console.error("protocol error");
  EXPECT_EQ(errors.str(), "vesk-agent: protocol error\n");
}

TEST(ConsoleTest, TellsWhenNobodyTakesTheMessages) {
  std::ostringstream output;
  std::ostringstream errors;
  Console console(output, errors, Console::Notes::shown);
  output.setstate(std::ios::badbit);
  EXPECT_THROW(console.message("{}"), std::runtime_error);
}

}  // namespace
}  // namespace vesk::agent::VESK_FILE
