#include "control/CommandLine.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vesk {
namespace {

std::optional<CommandLineAnswer> answer(std::vector<std::string> arguments) {
  std::vector<char*> list;
  for (auto& argument : arguments) list.push_back(argument.data());
  return commandLineAnswer(list);
}

TEST(CommandLineTest, IsNotAnsweredWithoutArguments) { EXPECT_FALSE(answer({})); }

TEST(CommandLineTest, AnswersHelpAndVersionOnStandardOutput) {
  const auto help = answer({"--help"});
  ASSERT_TRUE(help);
  EXPECT_EQ(help->status, 0);
  EXPECT_EQ(help->output.rfind("Usage: vesk-remote", 0), 0U);
  EXPECT_EQ(help->error, "");

  const auto version = answer({"--version"});
  ASSERT_TRUE(version);
  EXPECT_EQ(version->status, 0);
  EXPECT_EQ(version->output.rfind("vesk-remote ", 0), 0U);
  EXPECT_EQ(version->error, "");
}

TEST(CommandLineTest, MeetsAnythingElseWithOneLine) {
  for (const auto* argument : {"-h", "--verbose", "", "start"}) {
    const auto refused = answer({argument});
    ASSERT_TRUE(refused);
    EXPECT_EQ(refused->status, 2);
    EXPECT_EQ(refused->output, "");
    EXPECT_EQ(refused->error.find('\n'), refused->error.size() - 1);
    EXPECT_NE(refused->error.find("--help"), std::string::npos);
  }
}

}  // namespace
}  // namespace vesk
