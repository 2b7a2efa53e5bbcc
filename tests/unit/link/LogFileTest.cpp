#include "link/LogFile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "support/TemporaryFolder.h"

namespace vesk::VESK_FILE {
namespace {

class LogFileTest : public ::testing::Test {
 protected:
  std::string text() const {
    std::ifstream file(path_);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  void fill(std::size_t size) const { std::ofstream(path_) << std::string(size, 'x'); }

  vesk::testing::TemporaryFolder folder_;
  std::filesystem::path path_ = folder_.path() / "Vesk Remote.log";
};

const std::regex lineOfHello(R"(\d{4}-\d{2}-\d{2}T\d{2}:\d{2}:\d{2}Z hello\n)");

TEST_F(LogFileTest, MakesTheFileAndWritesTimeSpaceMessageLineFeed) {
  LogFile(path_).info("hello");
  EXPECT_TRUE(std::regex_match(text(), lineOfHello)) << text();
}

TEST_F(LogFileTest, AppendsToWhatIsThere) {
  std::ofstream(path_) << "before\n";
  LogFile(path_).info("hello");
  EXPECT_EQ(text().substr(0, 7), "before\n");
  EXPECT_TRUE(std::regex_match(text().substr(7), lineOfHello)) << text();
}

TEST_F(LogFileTest, KeepsAFileOfExactlyTheLimit) {
  fill(5'000'000);
  LogFile(path_).info("hello");
  EXPECT_GT(text().size(), 5'000'000U);
}

TEST_F(LogFileTest, EmptiesAFileOfOneByteMore) {
  fill(5'000'001);
  LogFile(path_).info("hello");
  EXPECT_TRUE(std::regex_match(text(), lineOfHello)) << text().size();
}

TEST_F(LogFileTest, NeverCutsTheFileWhileItIsOpen) {
  const LogFile log(path_);
  const std::string line(1'000'000, 'y');
  for (int i = 0; i < 6; ++i) log.info(line);
  EXPECT_GT(text().size(), 6'000'000U);
}

TEST_F(LogFileTest, GoesOnWhereItsLastLineEndedWhateverOthersDoToTheFile) {
  const LogFile log(path_);
  log.info("hello");
  const auto length = text().size();
  fill(0);
  log.info("hello");
  EXPECT_EQ(text().size(), 2 * length);
  EXPECT_EQ(text().substr(0, length), std::string(length, '\0'));
  fill(3 * length);
  log.info("hello");
  EXPECT_EQ(text().size(), 3 * length);
  EXPECT_TRUE(std::regex_match(text().substr(2 * length), lineOfHello)) << text();
}

TEST_F(LogFileTest, LeavesAMessageAsItIs) {
  LogFile(path_).info("one\ntwo \xe2\x80\x9c\xff\"\\");
  EXPECT_EQ(text().substr(21), "one\ntwo \xe2\x80\x9c\xff\"\\\n");
}

TEST_F(LogFileTest, WritesToStandardErrorWhenTheFolderIsMissing) {
  ::testing::internal::CaptureStderr();
  LogFile(folder_.path() / "missing" / "Vesk Remote.log").info("hello");
  const std::string error = ::testing::internal::GetCapturedStderr();
  EXPECT_TRUE(std::regex_match(error, lineOfHello)) << error;
  EXPECT_FALSE(std::filesystem::exists(folder_.path() / "missing"));
}

TEST_F(LogFileTest, WaitsForNobodyWhoShouldReadAPipeInItsPlace) {
  ASSERT_EQ(::mkfifo(path_.c_str(), 0600), 0);
  ::testing::internal::CaptureStderr();
  LogFile(path_).info("hello");
  const auto said = ::testing::internal::GetCapturedStderr();
  EXPECT_TRUE(std::regex_match(said, lineOfHello)) << said;
  const int reader = ::open(path_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  ASSERT_GE(reader, 0);
  const LogFile log(path_);
  for (int i = 0; i < 100; ++i) log.info(std::string(10'000, 'y'));
  ::close(reader);
}

TEST_F(LogFileTest, WritesToStandardErrorWhenTheFileCannotBeOpened) {
  std::filesystem::create_directory(path_);
  ::testing::internal::CaptureStderr();
  LogFile(path_).info("hello");
  const std::string error = ::testing::internal::GetCapturedStderr();
  EXPECT_TRUE(std::regex_match(error, lineOfHello)) << error;
}

TEST_F(LogFileTest, KeepsLinesOfManyThreadsWhole) {
  const LogFile log(path_);
  std::vector<std::thread> writers;
  for (int writer = 0; writer < 4; ++writer) {
    writers.emplace_back([&log, writer] {
      for (int i = 0; i < 200; ++i) log.info(std::string(100, static_cast<char>('a' + writer)));
    });
  }
  for (auto& writer : writers) writer.join();
  std::ifstream file(path_);
  int lines = 0;
  for (std::string line; std::getline(file, line); ++lines) {
    ASSERT_EQ(line.size(), 121U);
    EXPECT_EQ(line.substr(21), std::string(100, line.back()));
  }
  EXPECT_EQ(lines, 800);
}

}  // namespace
}  // namespace vesk::VESK_FILE
