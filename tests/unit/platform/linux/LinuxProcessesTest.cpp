#include "platform/linux/LinuxProcesses.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>
#include <vector>

#include "support/Patience.h"
#include "support/TemporaryFolder.h"
#include "support/XServer.h"

namespace vesk::VESK_FILE {
namespace {

namespace fs = std::filesystem;
using vesk::testing::ChildProcess;

/// An executable of this test program's own file name that sleeps, in a folder of its own.
class Copy {
 public:
  Copy() { fs::copy_file("/bin/sleep", path_); }
  const fs::path& path() const { return path_; }

 private:
  vesk::testing::TemporaryFolder folder_;
  fs::path path_ = folder_.path() / fs::read_symlink("/proc/self/exe").filename();
};

/// Waits until the child runs the program that it was started for, as its /proc entry shows.
void waitUntilItRuns(const ChildProcess& child, const fs::path& program) {
  const fs::path link = "/proc/" + std::to_string(child.pid()) + "/exe";
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  std::error_code error;
  while (fs::read_symlink(link, error) != program) {
    ASSERT_LT(std::chrono::steady_clock::now(), deadline) << program << " does not run";
    ::usleep(1000);
  }
}

/// Whether a process counts as a running copy of this test program. Others may run beside it.
bool isFound(ProcessId process) {
  const auto found = LinuxProcesses().runningApplications("any");
  EXPECT_TRUE(std::ranges::is_sorted(found));
  return std::ranges::find(found, process) != found.end();
}

TEST(LinuxProcessesTest, KnowsItselfAndItsEnvironment) {
  const LinuxProcesses processes;
  EXPECT_EQ(processes.currentProcessId(), ::getpid());
  ::setenv("VESK_TEST", "value", 1);
  EXPECT_EQ(processes.environment("VESK_TEST"), "value");
  ::unsetenv("VESK_TEST");
  EXPECT_EQ(processes.environment("VESK_TEST"), std::nullopt);
  EXPECT_EQ(processes.mainBundleIdentifier(), std::nullopt);
}

TEST(LinuxProcessesTest, FindsCopiesByFileNameWhereverTheyLie) {
  EXPECT_TRUE(isFound(::getpid()));
  const Copy copy;
  ChildProcess child({copy.path(), "60"});
  waitUntilItRuns(child, copy.path());
  EXPECT_TRUE(isFound(child.pid()));
  const ProcessId ended = child.pid();
  child.stop(SIGKILL);
  EXPECT_FALSE(isFound(ended));
}

TEST(LinuxProcessesTest, FindsACopyWhoseFileWasReplacedSince) {
  const Copy copy;
  const ChildProcess child({copy.path(), "60"});
  waitUntilItRuns(child, copy.path());
  fs::remove(copy.path());
  std::ofstream(copy.path()) << "the new version";
  EXPECT_TRUE(isFound(child.pid()));
}

TEST(LinuxProcessesTest, PassesOverOtherProgramsAndThoseWhoseNameOnlyBeginsAlike) {
  const Copy copy;
  const fs::path longer = copy.path().string() + "2";
  fs::copy_file("/bin/sleep", longer);
  const ChildProcess child({longer, "60"});
  waitUntilItRuns(child, longer);
  EXPECT_FALSE(isFound(child.pid()));
}

/// The dynamic loader, by the name of the file that it is.
fs::path loader() {
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);) {
    const auto path = line.find('/');
    if (path == std::string::npos) continue;
    const fs::path file = line.substr(path);
    if (file.filename().string().starts_with("ld-")) return file;
  }
  return {};
}

TEST(LinuxProcessesTest, TellsByItsCodeWhatTheLoaderHasStarted) {
  const Copy copy;
  const ChildProcess child({loader(), copy.path(), "60"});
  const ChildProcess stranger({loader(), "/bin/sleep", "60"});
  waitUntilItRuns(child, loader());
  waitUntilItRuns(stranger, loader());
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!isFound(child.pid())) {
    ASSERT_LT(std::chrono::steady_clock::now(), deadline) << "the copy is not found";
    ::usleep(1000);
  }
  EXPECT_FALSE(isFound(stranger.pid()));
}

TEST(LinuxProcessesTest, LeavesAloneWhatOnlyReadsThisProgramsFile) {
  const Copy copy;
  const ChildProcess stranger({loader(), "/usr/bin/tail", "-f", "-c", "0", copy.path()});
  waitUntilItRuns(stranger, loader());
  EXPECT_FALSE(isFound(stranger.pid()));
}

TEST(LinuxProcessesTest, EndsProcesses) {
  LinuxProcesses processes;
  ChildProcess killed({"sleep", "60"});
  EXPECT_TRUE(processes.forceTerminate(killed.pid()));
  EXPECT_EQ(WTERMSIG(killed.stop(0)), SIGKILL);

  ChildProcess asked({"sleep", "60"});
  const pid_t asking = asked.pid();
  processes.terminate(asking);
  EXPECT_EQ(WTERMSIG(asked.stop(0)), SIGTERM);
  EXPECT_FALSE(processes.forceTerminate(asking));
}

TEST(LinuxProcessesTest, NeverSignalsAGroup) {
  LinuxProcesses processes;
  const ChildProcess group({"setsid", "sleep", "60"});
  ASSERT_TRUE(vesk::testing::waitUntil([&] { return ::getpgid(group.pid()) == group.pid(); }));
  EXPECT_FALSE(processes.forceTerminate(-group.pid()));
  processes.terminate(-group.pid());
  EXPECT_EQ(::waitpid(group.pid(), nullptr, WNOHANG), 0) << "the group has got a signal";
}

/// Zero stands for this process's own group, here one of its own.
TEST(LinuxProcessesDeathTest, NeverSignalsItsOwnGroup) {
  const auto signalZero = [] {
    ::setpgid(0, 0);
    LinuxProcesses processes;
    const bool forced = processes.forceTerminate(0);
    processes.terminate(0);
    ::_exit(forced ? 1 : 7);
  };
  EXPECT_EXIT(signalZero(), ::testing::ExitedWithCode(7), "");
}

TEST(LinuxProcessesTest, LeavesTheBrokenPipesSignalToProgramsThatItRuns) {
  const vesk::testing::TemporaryFolder folder;
  const fs::path out = folder.path() / "out";
  const auto before = ::signal(SIGPIPE, SIG_DFL);
  ignoreBrokenPipes();
  EXPECT_EQ(::signal(SIGPIPE, SIG_IGN), SIG_IGN);
  LinuxProcesses().runAndWait("/bin/sh", {"-c", "grep SigIgn /proc/self/status > \"$0\"", out});
  ::signal(SIGPIPE, before);
  std::ifstream file(out);
  std::string name;
  std::uint64_t ignored = ~0ULL;
  file >> name >> std::hex >> ignored;
  EXPECT_EQ(ignored >> (SIGPIPE - 1) & 1, 0U);
}

TEST(LinuxProcessesTest, RunsAProgramAndWaitsForItsEnd) {
  const vesk::testing::TemporaryFolder folder;
  const fs::path out = folder.path() / "out";
  ::setenv("VESK_OUT", out.c_str(), 1);
  LinuxProcesses().runAndWait("/bin/sh", {"-c", "echo \"$0|$1\" > \"$VESK_OUT\"", "a b", "c"});
  std::ifstream file(out);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "a b|c\n");
  ::unsetenv("VESK_OUT");
}

TEST(LinuxProcessesTest, PassesOverAProgramThatCannotBeStartedAndOneThatFails) {
  LinuxProcesses().runAndWait("/nonexistent/launchctl", {"kickstart"});
  LinuxProcesses().runAndWait("/bin/false", {});
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
}

TEST(LinuxProcessesDeathTest, ExitsWithTheStatus) {
  EXPECT_EXIT(LinuxProcesses().exit(7), ::testing::ExitedWithCode(7), "");
}

}  // namespace
}  // namespace vesk::VESK_FILE
