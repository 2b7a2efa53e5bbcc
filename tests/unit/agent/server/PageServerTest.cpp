#include "agent/server/PageServer.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <stdexcept>

#include <boost/asio/connect.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/websocket/stream.hpp>

#include "agent/server/PageMessage.h"

namespace vesk::agent::VESK_FILE {
namespace {

using namespace std::chrono_literals;
using boost::asio::ip::tcp;
namespace websocket = boost::beast::websocket;

/// A server and whoever comes to it, who waits for as long as it takes.
class PageServerTest : public ::testing::Test {
 protected:
  void serve(PageRoom::Times times = {}) {
    server_.emplace(0, times);
    const std::string address = server_->address();
    const auto colon = address.find(':', 5);
    port_ = address.substr(colon + 1, address.find('/', colon) - colon - 1);
    key_ = address.substr(address.find('=') + 1);
  }

  tcp::socket connect() {
    tcp::socket socket(context_);
    const auto number = static_cast<std::uint16_t>(std::stoi(port_));
    socket.connect({boost::asio::ip::address_v4::loopback(), number});
    return socket;
  }

  /// Everything that comes before the connection ends.
  static std::string rest(tcp::socket& socket) {
    std::string text;
    boost::system::error_code error;
    boost::asio::read(socket, boost::asio::dynamic_buffer(text), error);
    return text;
  }

  websocket::stream<tcp::socket> knock() {
    websocket::stream<tcp::socket> socket(connect());
    socket.set_option(websocket::stream_base::decorator([this](websocket::request_type& request) {
      request.set("Origin", "http://127.0.0.1:" + port_);
      request.set("Sec-WebSocket-Protocol", "vesk-viewer.1");
      request.set("Cookie", "vesk-page-" + port_ + "=" + std::string(43, 'b'));
    }));
    socket.handshake("127.0.0.1:" + port_, "/viewer");
    return socket;
  }

  /// Reads up to the close frame.
  static websocket::close_reason reason(websocket::stream<tcp::socket>& socket) {
    boost::beast::flat_buffer buffer;
    boost::system::error_code error;
    while (!error) socket.read(buffer, error);
    EXPECT_EQ(error, websocket::error::closed);
    return socket.reason();
  }

  static std::string next(websocket::stream<tcp::socket>& socket) {
    boost::beast::flat_buffer buffer;
    socket.read(buffer);
    const auto data = buffer.data();
    return {static_cast<const char*>(data.data()), data.size()};
  }

  PageWish nextWish() {
    while (wishes_.empty()) {
      pollfd entry{server_->descriptor(), POLLIN, 0};
      ::poll(&entry, 1, -1);
      for (auto& wish : server_->takeWishes()) {
        if (std::holds_alternative<Frame>(wish)) wishes_.push_back(std::move(wish));
      }
    }
    PageWish first = std::move(wishes_.front());
    wishes_.erase(wishes_.begin());
    return first;
  }

  std::string nextFrame() {
    const auto frame = std::get<Frame>(nextWish());
    return {reinterpret_cast<const char*>(frame.payload.data()), frame.payload.size()};
  }

  std::string keyMessage() const { return R"({"key":")" + key_ + R"("})"; }

  /// One that has the seat while a program is there that has said nothing.
  websocket::stream<tcp::socket> viewer() {
    auto socket = knock();
    socket.write(boost::asio::buffer(keyMessage()));
    EXPECT_EQ(next(socket), R"({"program":"connected"})");
    EXPECT_EQ(nextFrame(), R"({"op":"keyframe"})");
    socket.binary(true);
    return socket;
  }

  /// Sends a frame, and sees it come.
  void send(websocket::stream<tcp::socket>& socket, char kind, const std::string& text) {
    socket.write(boost::asio::buffer(kind + text));
    EXPECT_EQ(nextFrame(), text);
  }

  static void leave(websocket::stream<tcp::socket>& socket) {
    boost::system::error_code ignored;
    socket.close(websocket::close_code::normal, ignored);
  }

  static Frame control(std::string_view text) {
    return pageMessage::frameOf(FrameKind::control, text);
  }

  static constexpr char controlKind = 1;
  static constexpr char inputKind = 2;

  boost::asio::io_context context_;
  std::optional<PageServer> server_;
  std::string port_;
  std::string key_;
  std::vector<PageWish> wishes_;
};

TEST_F(PageServerTest, TellsThatAPortIsTaken) {
  serve();
  try {
    PageServer other(static_cast<std::uint16_t>(std::stoi(port_)));
    FAIL();
  } catch (const std::runtime_error& error) {
    EXPECT_EQ(std::string(error.what()),
              "cannot serve the page at port " + port_ + ": Address already in use");
  }
}

TEST_F(PageServerTest, ARequestThatDoesNotComeToItsEndIsCutOff) {
  serve({.request = 20ms});
  auto socket = connect();
  boost::asio::write(socket, boost::asio::buffer(std::string("GET / HTTP/1.1\r\nHost: 127.")));
  EXPECT_EQ(rest(socket), "");
}

TEST_F(PageServerTest, AKeyThatDoesNotComeIsToldSo) {
  serve({.key = 20ms});
  auto socket = knock();
  const auto why = reason(socket);
  EXPECT_EQ(why.code, pageRefusal::wrongKey);
  EXPECT_EQ(why.reason, "The page has not given its key in time. Reload it.");
}

TEST_F(PageServerTest, AStrangerThatDoesNotTakeItsFarewellIsCutOff) {
  serve({.key = 20ms, .farewell = 20ms});
  auto socket = knock();
  // Its close frame is read, and not answered.
  EXPECT_FALSE(rest(socket.next_layer()).empty());
}

TEST_F(PageServerTest, AViewerHasThePrograms) {
  serve();
  server_->programConnected();
  const std::string hello = R"({"op":"hello"})";
  server_->programSent(control(hello));
  auto socket = knock();
  socket.write(boost::asio::buffer(keyMessage()));
  EXPECT_EQ(next(socket), R"({"program":"connected"})");
  EXPECT_EQ(next(socket), "\1" + hello);
  EXPECT_EQ(nextFrame(), R"({"op":"keyframe"})");

  socket.binary(true);
  send(socket, inputKind, R"({"t":"k","c":65,"e":"down"})");
  server_->note("a note");
  EXPECT_EQ(next(socket), R"({"note":"a note"})");

  // What it held is let go of when it is gone.
  socket.next_layer().close();
  EXPECT_EQ(nextFrame(), R"({"c":65,"e":"up","m":0,"t":"k","x":false})");
}

TEST_F(PageServerTest, AViewerThatComesLateIsToldOfTheSession) {
  serve();
  server_->programConnected();
  const auto told = [this] {
    auto socket = knock();
    socket.write(boost::asio::buffer(keyMessage()));
    EXPECT_EQ(next(socket), R"({"program":"connected"})");
    std::string text = next(socket);
    leave(socket);
    return text;
  };
  server_->programSent(control(R"({"op":"started"})"));
  EXPECT_EQ(told(), "\1{\"op\":\"started\"}");
  server_->agentSent(control(R"({"op":"stop"})"));
  server_->programSent(control(R"({"op":"hello"})"));
  EXPECT_EQ(told(), "\1{\"op\":\"hello\"}");
}

TEST_F(PageServerTest, AViewerThatAStuckProgramHoldsUpLosesItsSeatInWords) {
  serve({.stuck = 20ms});
  server_->programConnected();
  auto socket = knock();
  socket.write(boost::asio::buffer(keyMessage()));
  socket.binary(true);
  for (std::size_t i = 0; i <= PageMail::maxWaiting; ++i) {
    socket.write(boost::asio::buffer(std::string("\2{\"t\":\"k\",\"c\":65,\"e\":\"down\"}")));
  }
  const auto why = reason(socket);
  EXPECT_EQ(why.code, pageRefusal::stuckProgram);
  EXPECT_EQ(why.reason, "The program takes nothing any more. Try again when it goes on.");
  auto other = knock();
  other.write(boost::asio::buffer(keyMessage()));
  EXPECT_EQ(next(other), R"({"program":"connected"})");
  while (nextFrame() != R"({"c":65,"e":"up","m":0,"t":"k","x":false})") {
  }
}

TEST_F(PageServerTest, StopsTheSessionOfAViewerThatDoesNotComeBack) {
  serve({.absence = 20ms});
  server_->programConnected();
  auto socket = viewer();
  send(socket, controlKind, R"({"op":"start"})");
  socket.next_layer().close();
  EXPECT_EQ(nextFrame(), R"({"op":"stop"})");
}

TEST_F(PageServerTest, WaitsAnewForAViewerThatLeavesAgain) {
  constexpr auto absence = 500ms;
  serve({.absence = absence});
  server_->programConnected();
  std::chrono::steady_clock::time_point left;
  for (int i = 0; i < 2; ++i) {
    auto socket = viewer();
    send(socket, controlKind, R"({"op":"start"})");
    left = std::chrono::steady_clock::now();
    leave(socket);
  }
  EXPECT_EQ(nextFrame(), R"({"op":"stop"})");
  EXPECT_GE(std::chrono::steady_clock::now() - left, absence);
}

TEST_F(PageServerTest, StopsNoSessionThatThePersonRefused) {
  serve({.absence = 0ms});
  server_->programConnected();
  auto socket = viewer();
  send(socket, controlKind, R"({"op":"start"})");
  const std::string denied = R"({"op":"denied"})";
  server_->programSent(control(denied));
  EXPECT_EQ(next(socket), "\1" + denied);
  leave(socket);

  viewer();  // which finds nothing on its way but what it asks for itself
}

TEST_F(PageServerTest, TellsAnotherProgramNothingOfWhatTheLastOneHeard) {
  serve({.absence = 0ms});
  server_->programConnected();
  auto socket = viewer();
  send(socket, inputKind, R"({"t":"k","c":65,"e":"down"})");
  server_->programGone();
  server_->programConnected();
  EXPECT_EQ(next(socket), R"({"program":"gone"})");
  EXPECT_EQ(next(socket), R"({"program":"connected"})");
  leave(socket);

  viewer();  // which finds nothing on its way but what it asks for itself
}

TEST_F(PageServerTest, StopsNobodyElsesSession) {
  serve({.absence = 0ms});
  server_->programConnected();
  for (int i = 0; i < 2; ++i) {
    auto socket = viewer();
    leave(socket);
  }
}

TEST_F(PageServerTest, ItsEndIsToldToTheViewer) {
  serve();
  auto socket = knock();
  socket.write(boost::asio::buffer(keyMessage()));
  EXPECT_EQ(next(socket), R"({"program":"gone"})");
  std::thread end([this] { server_.reset(); });
  const auto why = reason(socket);
  end.join();
  EXPECT_EQ(why.code, pageRefusal::agentEnds);
  EXPECT_EQ(why.reason, "The agent has ended.");
}

TEST_F(PageServerTest, ItsEndWaitsForNobodyForLong) {
  serve();
  server_->programConnected();
  const auto silent = connect();
  auto stranger = knock();
  auto stuck = knock();
  stuck.write(boost::asio::buffer(keyMessage()));
  EXPECT_EQ(next(stuck), R"({"program":"connected"})");
  // More than the system takes, so that the viewer is in the middle of a message.
  Bytes picture(std::size_t{32} * 1024 * 1024, std::byte{1});
  constexpr std::size_t durationSize = 4;
  for (std::size_t i = 0; i < durationSize - 1; ++i) picture[durationSize + i] = std::byte{0};
  picture[2 * durationSize] = std::byte{5};
  picture[2 * durationSize - 1] = std::byte{1};
  server_->programSent({3, picture});
  const auto begin = std::chrono::steady_clock::now();
  server_.reset();
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 10s);
}

}  // namespace
}  // namespace vesk::agent::VESK_FILE
