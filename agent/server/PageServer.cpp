#include "agent/server/PageServer.h"

#include <boost/asio/post.hpp>
#include <stdexcept>
#include <utility>

#include "agent/server/PageConnection.h"
#include "agent/server/PageMessage.h"

namespace vesk::agent {
namespace {

using boost::asio::ip::tcp;

constexpr std::chrono::seconds farewell{1};

[[noreturn]] void fail(std::uint16_t port, const boost::system::error_code& error) {
  throw std::runtime_error("cannot serve the page at port " + std::to_string(port) + ": " +
                           error.message());
}

}  // namespace

PageServer::PageServer(std::uint16_t port, PageRoom::Times times)
    : room_(mail_, times, [this] { awaitViewer(); }),
      acceptor_(context_),
      pause_(context_),
      absence_(context_) {
  listen(port);
  accept();
  thread_ = std::thread([this] { run(); });
}

PageServer::~PageServer() {
  boost::asio::post(context_, [this] {
    boost::system::error_code ignored;
    acceptor_.close(ignored);
    pause_.cancel();
    room_.showAllOut();
    absence_.cancel();
  });
  if (done_.get_future().wait_for(farewell) == std::future_status::timeout) context_.stop();
  thread_.join();
  room_.empty();  // while there is still a context that its sockets belong to
}

void PageServer::listen(std::uint16_t port) {
  boost::system::error_code error;
  const tcp::endpoint endpoint(boost::asio::ip::address_v4::loopback(), port);
  acceptor_.open(endpoint.protocol(), error);
  if (!error) acceptor_.set_option(tcp::acceptor::reuse_address(true), error);
  if (!error) acceptor_.bind(endpoint, error);
  if (!error) acceptor_.listen(tcp::acceptor::max_listen_connections, error);
  if (error) fail(port, error);
  room_.listensAt(acceptor_.local_endpoint().port());
}

/// Ends when no work is left: the acceptor is closed, and every connection has ended.
void PageServer::run() {
  context_.run();
  done_.set_value();
}

void PageServer::accept() {
  acceptor_.async_accept([this](const boost::system::error_code& error, tcp::socket socket) {
    if (!acceptor_.is_open()) return;
    if (error) return acceptLater();
    const auto connection = std::make_shared<PageConnection>(std::move(socket), room_);
    room_.welcome(connection);
    connection->start();
    accept();
  });
}

/// The system has no descriptor to give: it may have one when others have ended.
void PageServer::acceptLater() {
  constexpr std::chrono::milliseconds pause{100};
  pause_.expires_after(pause);
  pause_.async_wait([this](const boost::system::error_code&) {
    if (acceptor_.is_open()) accept();
  });
}

/// One that left earlier is not waited for any more.
void PageServer::awaitViewer() {
  if (!acceptor_.is_open()) return;
  absence_.expires_after(room_.times().absence);
  absence_.async_wait([this](const boost::system::error_code& error) {
    if (!error) room_.viewerIsMissed();
  });
}

std::string PageServer::address() const {
  return "http://127.0.0.1:" + std::to_string(room_.port()) + "/?key=" + room_.key();
}

std::vector<PageWish> PageServer::takeWishes() {
  auto taken = mail_.take();
  if (taken.wasFull) {
    boost::asio::post(context_, [this] { room_.mailTaken(); });
  }
  return std::move(taken.wishes);
}

void PageServer::programConnected() {
  boost::asio::post(context_, [this] { room_.programConnected(); });
}

void PageServer::programGone() {
  boost::asio::post(context_, [this] { room_.programGone(); });
}

void PageServer::programSent(const Frame& frame) {
  if (frameKind(frame.kind) == FrameKind::video) return programSentVideo(frame);
  boost::asio::post(context_, [this, frame] { room_.programSent(frame); });
}

/// Also where the page's thread gets no time, nothing piles up on the way to it.
void PageServer::programSentVideo(const Frame& frame) {
  if (!room_.hasViewer()) return;
  const std::size_t size = frame.payload.size();
  if (onTheWay_ > 0 && onTheWay_ + size > PageBacklog::maxVideo) {
    boost::asio::post(context_, [this] { room_.programVideoLost(); });
    return;
  }
  onTheWay_ += size;
  boost::asio::post(context_, [this, size, message = pageMessage::ofFrame(frame),
                               now = std::chrono::steady_clock::now()]() mutable {
    room_.programSentVideo(std::move(message), now);
    onTheWay_ -= size;
  });
}

void PageServer::agentSent(const Frame& frame) {
  if (frameKind(frame.kind) != FrameKind::control) return;
  boost::asio::post(context_, [this, frame] { room_.agentSent(frame); });
}

void PageServer::note(std::string_view text) {
  boost::asio::post(context_, [this, text = std::string(text)] { room_.noteForPage(text); });
}

std::unique_ptr<Page> openPage(std::uint16_t port) { return std::make_unique<PageServer>(port); }

}  // namespace vesk::agent
