#include "agent/Listener.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <memory>
#include <stdexcept>

#include "platform/UnixSocket.h"
#include "support/TemporaryFolder.h"

namespace vesk::agent::VESK_FILE {
namespace {

class ListenerTest : public ::testing::Test {
 protected:
  std::string failure(const std::string& path) const try {
    const Listener listener(path);
    return "";
  } catch (const std::runtime_error& error) {
    return error.what();
  }

  bool canConnect() const { return unixSocket::connect(unixSocket::open(), path_); }

  vesk::testing::TemporaryFolder folder_;
  std::string path_ = folder_.path() / "agent.sock";
};

TEST_F(ListenerTest, LetsEverybodyConnectAndRemovesItsFile) {
  {
    const Listener listener(path_);
    struct stat status {};
    ASSERT_EQ(::stat(path_.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0666U);
    EXPECT_FALSE(listener.accept());
    const Descriptor program = unixSocket::open();
    ASSERT_TRUE(unixSocket::connect(program, path_));
    EXPECT_TRUE(listener.accept());
  }
  EXPECT_FALSE(std::filesystem::exists(path_));
}

TEST_F(ListenerTest, ReplacesASocketThatNobodyAnswersAt) {
  auto first = std::make_unique<Listener>(path_);
  const auto moved = path_ + ".old";
  std::filesystem::rename(path_, moved);
  first.reset();  // its file is not where it was made, so it stays
  std::filesystem::rename(moved, path_);
  ASSERT_FALSE(canConnect());
  const Listener second(path_);
  EXPECT_TRUE(canConnect());
}

TEST_F(ListenerTest, LeavesAnotherListenersFileAlone) {
  auto first = std::make_unique<Listener>(path_);
  std::filesystem::remove(path_);
  const Listener second(path_);
  first.reset();
  EXPECT_TRUE(canConnect());
}

TEST_F(ListenerTest, RefusesAPathWhereAnotherAgentAnswers) {
  const Listener first(path_);
  EXPECT_EQ(failure(path_), "another agent listens at '" + path_ + "' already");
  EXPECT_TRUE(canConnect());
}

TEST_F(ListenerTest, RemovesNothingButSockets) {
  std::ofstream(path_) << "precious";
  EXPECT_EQ(failure(path_), "'" + path_ + "' is in the way: it is not a socket");
  EXPECT_TRUE(std::filesystem::exists(path_));
}

TEST_F(ListenerTest, TellsThatAFolderIsMissing) {
  const std::string path = folder_.path() / "missing/agent.sock";
  EXPECT_EQ(failure(path), "cannot listen at '" + path + "': its folder does not exist");
}

}  // namespace
}  // namespace vesk::agent::VESK_FILE
