#include "control/CommandLine.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

namespace vesk::VESK_FILE {
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
  EXPECT_TRUE(help->output.starts_with("Usage: vesk-remote [--help | --version]\n"));
  EXPECT_EQ(help->error, "");

  const auto version = answer({"--version"});
  ASSERT_TRUE(version);
  EXPECT_EQ(version->status, 0);
  const std::regex line(R"(vesk-remote \d+\.\d+\.\d+\n)");
  EXPECT_TRUE(std::regex_match(version->output, line)) << version->output;
  EXPECT_EQ(version->error, "");
}

TEST(CommandLineTest, MeetsAnythingElseWithOneLine) {
  for (const std::string argument : {"-h", "--verbose", "", "start"}) {
    const auto refused = answer({argument});
    ASSERT_TRUE(refused);
    EXPECT_EQ(refused->status, 2);
    EXPECT_EQ(refused->output, "");
    EXPECT_EQ(refused->error,
              "vesk-remote: unknown argument '" + argument + "'; see vesk-remote --help.\n");
  }
}

TEST(CommandLineTest, GoesByTheFirstArgument) {
  EXPECT_EQ(answer({"--help", "start"})->status, 0);
  EXPECT_EQ(answer({"start", "--help"})->status, 2);
}

}  // namespace
}  // namespace vesk::VESK_FILE
