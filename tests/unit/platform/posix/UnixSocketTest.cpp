#include "platform/UnixSocket.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <string>

#include "support/TemporaryFolder.h"
#include "support/UnixListener.h"

namespace vesk::VESK_FILE {
namespace {

using vesk::testing::bytes;

class UnixSocketTest : public ::testing::Test {
 protected:
  vesk::testing::TemporaryFolder folder_;
};

TEST_F(UnixSocketTest, ConnectsReadsAndWrites) {
  const vesk::testing::UnixListener listener(folder_.path() / "s");
  const Descriptor socket = unixSocket::open();
  ASSERT_TRUE(socket);
  ASSERT_TRUE(unixSocket::connect(socket, (folder_.path() / "s").string()));
  auto peer = listener.accept();
  EXPECT_EQ(unixSocket::write(socket.get(), bytes({1, 2})), 2);
  EXPECT_EQ(peer.read(2), bytes({1, 2}));
  peer.write(bytes({3}));
  std::array<std::byte, 8> buffer{};
  EXPECT_EQ(unixSocket::read(socket.get(), buffer), 1);
  peer.close();
  EXPECT_EQ(unixSocket::read(socket.get(), buffer), 0);
}

TEST_F(UnixSocketTest, NeverWaitsForRoomUnlessAskedTo) {
  const vesk::testing::UnixListener listener(folder_.path() / "s");
  const Descriptor socket = unixSocket::open();
  ASSERT_TRUE(unixSocket::connect(socket, (folder_.path() / "s").string()));
  const auto peer = listener.accept();
  const Bytes much(1U << 20U);
  std::size_t taken = 0;
  for (std::ptrdiff_t count = 0; (count = unixSocket::write(socket.get(), much)) > 0;) {
    taken += static_cast<std::size_t>(count);
  }
  EXPECT_EQ(unixSocket::write(socket.get(), much), unixSocket::noRoom);
  peer.read(taken);
  unixSocket::awaitRoom(socket.get(), vesk::testing::longestWait);
  EXPECT_GT(unixSocket::write(socket.get(), much), 0);
}

TEST_F(UnixSocketTest, CutsAPathToWhatAnAddressHolds) {
  std::string path = (folder_.path() / "").string();
  path.append(unixSocket::maxPathLength - path.size(), 'x');
  const vesk::testing::UnixListener listener(path);
  EXPECT_TRUE(unixSocket::connect(unixSocket::open(), path));
  EXPECT_TRUE(unixSocket::connect(unixSocket::open(), path + "beyond"));
  EXPECT_FALSE(unixSocket::connect(unixSocket::open(), path.substr(0, path.size() - 1)));
}

TEST_F(UnixSocketTest, RefusesWhereNobodyListens) {
  EXPECT_FALSE(unixSocket::connect(unixSocket::open(), (folder_.path() / "s").string()));
}

TEST_F(UnixSocketTest, FailsWithoutASignalOnAClosedPeer) {
  const auto before = std::signal(SIGPIPE, SIG_DFL);
  const vesk::testing::UnixListener listener(folder_.path() / "s");
  const Descriptor socket = unixSocket::open();
  ASSERT_TRUE(unixSocket::connect(socket, (folder_.path() / "s").string()));
  listener.accept().close();
  EXPECT_LT(unixSocket::write(socket.get(), bytes({1})), 0);
  std::signal(SIGPIPE, before);
}

TEST_F(UnixSocketTest, IsNotInheritedByChildren) {
  const Descriptor socket = unixSocket::open();
  EXPECT_EQ(::fcntl(socket.get(), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
}

}  // namespace
}  // namespace vesk::VESK_FILE
