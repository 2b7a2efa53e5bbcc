#pragma once

#include <atomic>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <future>
#include <thread>

#include "agent/Page.h"
#include "agent/server/PageRoom.h"

namespace vesk::agent {

/// Serves the page on the loopback address alone, in a thread of its own: however slow or hostile
/// whoever connects is, the agent reads its program on.
///
/// Thread: one, the agent's. Owns: the page's thread, the listening socket and all connections.
/// Fails: the constructor throws std::runtime_error with a sentence when the port cannot be had.
/// Its end tells the viewer, and waits for that a second at most.
class PageServer : public Page {
 public:
  explicit PageServer(std::uint16_t port, PageRoom::Times times = {});
  ~PageServer() override;
  PageServer(const PageServer&) = delete;
  PageServer& operator=(const PageServer&) = delete;

  std::string address() const override;
  int descriptor() const override { return mail_.descriptor(); }
  std::vector<PageWish> takeWishes() override;
  void programConnected() override;
  void programGone() override;
  void programSent(const Frame& frame) override;
  void agentSent(const Frame& frame) override;
  void note(std::string_view text) override;

 private:
  void listen(std::uint16_t port);
  void accept();
  void acceptLater();
  void awaitViewer();
  void run();
  void programSentVideo(const Frame& frame);

  PageMail mail_;
  PageRoom room_;
  boost::asio::io_context context_;
  boost::asio::ip::tcp::acceptor acceptor_;
  boost::asio::steady_timer pause_;
  boost::asio::steady_timer absence_;
  std::atomic<std::size_t> onTheWay_ = 0;  ///< bytes of video that were posted
  std::promise<void> done_;
  std::thread thread_;
};

}  // namespace vesk::agent
