#include "agent/Connection.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <array>
#include <stdexcept>

#include "platform/UnixSocket.h"

namespace vesk::agent::VESK_FILE {
namespace {

using State = Connection::State;

class ConnectionTest : public ::testing::Test {
 protected:
  ConnectionTest() : ConnectionTest(makePair()) {}

  Connection connection_;
  Descriptor program_;

 private:
  static std::array<int, 2> makePair() {
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()) != 0) throw std::runtime_error("pair");
    ::fcntl(ends[0], F_SETFL, O_NONBLOCK);
    return ends;
  }
  explicit ConnectionTest(std::array<int, 2> ends)
      : connection_(Descriptor(ends[0])), program_(ends[1]) {}
};

TEST_F(ConnectionTest, ReadsFramesAndThenTheEnd) {
  const Bytes frame = frameBytes(FrameKind::control, Bytes(3, std::byte{'x'}));
  EXPECT_EQ(connection_.read(), State::open);  // nothing has come
  unixSocket::write(program_.get(), ByteView(frame).first(2));
  EXPECT_EQ(connection_.read(), State::open);
  EXPECT_FALSE(connection_.nextFrame());
  EXPECT_EQ(connection_.unfinished(), 2U);
  unixSocket::write(program_.get(), ByteView(frame).subspan(2));
  program_.close();
  EXPECT_EQ(connection_.read(), State::open);
  const auto read = connection_.nextFrame();
  ASSERT_TRUE(read);
  EXPECT_EQ(read->payload, Bytes(3, std::byte{'x'}));
  EXPECT_EQ(connection_.read(), State::ended);
}

TEST_F(ConnectionTest, KeepsWhatAProgramDoesNotTakeYet) {
  Bytes sent(std::size_t{4} * 1024 * 1024);
  for (std::size_t i = 0; i < sent.size(); ++i) sent[i] = static_cast<std::byte>(i / 1000);
  connection_.send(ByteView(sent).first(sent.size() / 2));
  EXPECT_TRUE(connection_.wantsToWrite());
  connection_.send(ByteView(sent).subspan(sent.size() / 2));

  Bytes received(sent.size());
  for (std::size_t count = 0; count < received.size();) {
    count += static_cast<std::size_t>(
        unixSocket::read(program_.get(), std::span(received).subspan(count)));
    connection_.write();
  }
  EXPECT_EQ(received, sent);
  EXPECT_TRUE(connection_.allSent());
}

TEST_F(ConnectionTest, DropsWhatIsForAProgramThatIsGoneButReadsWhatItLeft) {
  const Bytes frame = frameBytes(FrameKind::control, {});
  unixSocket::write(program_.get(), frame);
  program_.close();
  connection_.send(frame);
  EXPECT_TRUE(connection_.allSent());
  EXPECT_EQ(connection_.read(), State::open);
  EXPECT_TRUE(connection_.nextFrame());
}

TEST_F(ConnectionTest, ReadsOnlyWhileItIsToRead) {
  EXPECT_TRUE(connection_.wantsToRead());
  connection_.stopReading();
  EXPECT_FALSE(connection_.wantsToRead());
  connection_.startReading();
  EXPECT_TRUE(connection_.wantsToRead());
}

}  // namespace
}  // namespace vesk::agent::VESK_FILE
