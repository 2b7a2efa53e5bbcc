#include "platform/linux/loop/SilentBus.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>
#include <thread>

#include "support/TemporaryFolder.h"
#include "support/UnixListener.h"

namespace vesk::loop::VESK_FILE {
namespace {

using namespace std::chrono_literals;
using testing::textBytes;

constexpr auto untilSilent = 20ms;
constexpr auto longEnoughToAnswer = 500ms;

class SilentBusTest : public ::testing::Test {
 protected:
  std::string addressOf(const std::string& name) const {
    return "unix:path=" + (folder_.path() / name).string();
  }

  /// Of a bus that answers each line or message with the next of these, and the rest with nothing.
  bool isSilentAfter(const std::string& answers, std::chrono::milliseconds patience) {
    const testing::UnixListener listener(folder_.path() / "bus");
    bool silent = false;
    std::thread asking([&] { silent = isSilentBus(addressOf("bus"), patience); });
    const auto peer = listener.accept();
    peer.write(textBytes(answers));
    const std::string greeting = std::string(1, '\0') + "AUTH EXTERNAL ";
    EXPECT_EQ(peer.read(greeting.size()), textBytes(greeting));
    asking.join();
    return silent;
  }

  testing::TemporaryFolder folder_;
};

TEST_F(SilentBusTest, IsOneThatTakesConnectionsAndSaysNothing) {
  const testing::UnixListener listener(folder_.path() / "bus");
  EXPECT_TRUE(isSilentBus(addressOf("bus"), untilSilent));
  EXPECT_TRUE(isSilentBus(addressOf("bus") + ",guid=0123456789abcdef", untilSilent));
  EXPECT_TRUE(isSilentBus("unix:path=" + (folder_.path() / "%62us").string(), untilSilent));
}

TEST_F(SilentBusTest, IsOneThatHasLetTheProgramInAndAnswersNothing) {
  EXPECT_TRUE(isSilentAfter("OK 0123456789abcdef\r\n", longEnoughToAnswer));
}

TEST_F(SilentBusTest, IsOneThatDoesNotFinishItsFirstLine) {
  EXPECT_TRUE(isSilentAfter("OK 0123456789", longEnoughToAnswer));
}

TEST_F(SilentBusTest, IsNoneThatRefusesTheProgram) {
  EXPECT_FALSE(isSilentAfter("ERROR\r\n", 10s));
  EXPECT_FALSE(isSilentAfter("REJECTED DBUS_COOKIE_SHA1\r\n", 10s));
}

TEST_F(SilentBusTest, IsNoneThatEnds) {
  const testing::UnixListener listener(folder_.path() / "bus");
  bool silent = true;
  std::thread asking([&] { silent = isSilentBus(addressOf("bus"), 10s); });
  listener.accept().close();
  asking.join();
  EXPECT_FALSE(silent);
}

TEST_F(SilentBusTest, IsNoneThatIsNotThereOrNotReachedByASocket) {
  for (const std::string& address :
       {std::string(), addressOf("bus"), addressOf(std::string(200, 'b')), std::string("unix:"),
        std::string("tcp:host=127.0.0.1,port=1"), std::string("unixexec:path=/bin/false")}) {
    EXPECT_FALSE(isSilentBus(address, 10s)) << address;
  }
}

TEST_F(SilentBusTest, IsTheFirstOfAListThatCanBeReached) {
  const testing::UnixListener listener(folder_.path() / "bus");
  EXPECT_TRUE(isSilentBus(addressOf("none") + ";" + addressOf("bus"), untilSilent));
  EXPECT_FALSE(isSilentBus(addressOf("none") + ";" + addressOf("neither"), 10s));
}

TEST_F(SilentBusTest, MayHaveASocketThatNoFileStandsFor) {
  const std::string name = "vesk-silent-bus-" + std::to_string(::getpid());
  const Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path + 1, name.data(), name.size());
  const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
  ASSERT_EQ(::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), size), 0);
  ASSERT_EQ(::listen(socket.get(), 1), 0);
  EXPECT_TRUE(isSilentBus("unix:abstract=" + name, untilSilent));
}

}  // namespace
}  // namespace vesk::loop::VESK_FILE
