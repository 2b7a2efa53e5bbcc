#include "agent/Options.h"

#include <gtest/gtest.h>

#include <initializer_list>

namespace vesk::agent::VESK_FILE {
namespace {

std::variant<Options, OptionsAnswer> parse(std::vector<const char*> arguments) {
  return parseOptions(arguments);
}

Options options(std::vector<const char*> arguments) {
  return std::get<Options>(parse(std::move(arguments)));
}

OptionsAnswer answer(std::vector<const char*> arguments) {
  return std::get<OptionsAnswer>(parse(std::move(arguments)));
}

TEST(OptionsTest, ListenWhereTheProgramLooksByDefault) {
  const Options defaults = options({});
  EXPECT_EQ(defaults.socketPath, "/var/run/com.vesk.tovarin.screen.sock");
  EXPECT_TRUE(defaults.commands.empty());
  EXPECT_EQ(defaults.recordFile, "");
  EXPECT_EQ(defaults.durationsFile, "");
  EXPECT_EQ(defaults.life, Options::Life::untilSignal);
  EXPECT_EQ(defaults.atEndOfInput, Options::AtEndOfInput::goOn);
  EXPECT_EQ(defaults.onProtocolError, Options::OnProtocolError::count);
  EXPECT_EQ(defaults.notes, Console::Notes::shown);
  EXPECT_EQ(defaults.pagePort, std::nullopt);
}

TEST(OptionsTest, TakeThePageWithAndWithoutAPort) {
  EXPECT_EQ(options({"--page"}).pagePort, 0);
  EXPECT_EQ(options({"--page=0"}).pagePort, 0);
  EXPECT_EQ(options({"--page=65535"}).pagePort, 65535);
  for (const auto* argument : {"--page=", "--page=65536", "--page=-1", "--page=x"}) {
    EXPECT_EQ(answer({argument}).error,
              "vesk-agent: --page takes a port from 0 to 65535; see vesk-agent --help.\n");
  }
  EXPECT_EQ(answer({"--pages"}).error,
            "vesk-agent: unknown argument '--pages'; see vesk-agent --help.\n");
}

TEST(OptionsTest, TakeEverySetting) {
  const Options all =
      options({"--socket", "/tmp/s", "--send", "{}", "--send", "quit", "--record", "v",
               "--record-durations", "d", "--once", "--quit-at-end", "--strict", "--quiet"});
  EXPECT_EQ(all.socketPath, "/tmp/s");
  ASSERT_EQ(all.commands.size(), 2U);
  EXPECT_TRUE(std::holds_alternative<Send>(all.commands[0]));
  EXPECT_TRUE(std::holds_alternative<Quit>(all.commands[1]));
  EXPECT_EQ(all.recordFile, "v");
  EXPECT_EQ(all.durationsFile, "d");
  EXPECT_EQ(all.life, Options::Life::firstConnection);
  EXPECT_EQ(all.atEndOfInput, Options::AtEndOfInput::quit);
  EXPECT_EQ(all.onProtocolError, Options::OnProtocolError::end);
  EXPECT_EQ(all.notes, Console::Notes::hidden);
}

TEST(OptionsTest, AnswerHelpAndVersionOnStandardOutput) {
  const OptionsAnswer help = answer({"--quiet", "--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_EQ(help.error, "");
  for (const auto* name : {"--socket", "--send", "--record ", "--record-durations", "--once",
                           "--quit-at-end", "--strict", "--quiet", "--help", "--version"}) {
    EXPECT_NE(help.output.find(name), std::string::npos) << name;
  }
  EXPECT_NE(help.output.find(commandHelp()), std::string::npos);

  const OptionsAnswer version = answer({"--version"});
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(version.output.find("vesk-agent "), 0U);
}

TEST(OptionsTest, RefuseBadArgumentsInOneLine) {
  const auto refusal = [](std::vector<const char*> arguments) {
    const OptionsAnswer refused = answer(std::move(arguments));
    EXPECT_EQ(refused.status, 2);
    EXPECT_EQ(refused.output, "");
    return refused.error;
  };
  EXPECT_EQ(refusal({"--sokcet", "x"}),
            "vesk-agent: unknown argument '--sokcet'; see vesk-agent --help.\n");
  EXPECT_EQ(refusal({"x"}), "vesk-agent: unknown argument 'x'; see vesk-agent --help.\n");
  for (const std::string name : {"--socket", "--send", "--record", "--record-durations"}) {
    const auto expected =
        "vesk-agent: " + name + " needs a value behind it; see vesk-agent --help.\n";
    EXPECT_EQ(refusal({name.c_str()}), expected);
    EXPECT_EQ(refusal({name.c_str(), ""}), expected);
  }
  EXPECT_EQ(refusal({"--send", "# comment"}),
            "vesk-agent: --send takes a command; see vesk-agent --help.\n");
  EXPECT_EQ(refusal({"--send", "quit now"}),
            "vesk-agent: --send: quit takes nothing behind it; see vesk-agent --help.\n");
}

TEST(OptionsTest, RefuseAPathThatASocketCannotHave) {
  const std::string longest(103, 'x');
  EXPECT_EQ(options({"--socket", longest.c_str()}).socketPath, longest);
  const std::string longer(104, 'x');
  EXPECT_EQ(answer({"--socket", longer.c_str()}).error,
            "vesk-agent: the path of --socket is longer than 103 bytes; see vesk-agent --help.\n");
}

}  // namespace
}  // namespace vesk::agent::VESK_FILE
