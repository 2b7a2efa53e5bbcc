#pragma once

#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/websocket/stream.hpp>
#include <memory>
#include <optional>
#include <string>

#include "agent/server/PageGuest.h"
#include "agent/server/PageHttp.h"
#include "agent/server/PageRoom.h"

namespace vesk::agent {

/// One WebSocket: a stranger until its first message has brought the key, then the viewer.
///
/// Thread: the page's. Owns: the socket, what is on its way to the page; its pending operations own
/// it, and the room. Fails: it is closed, with the reason in words where the socket still takes
/// any.
class PageViewer : public PageGuest,
                   public PageSeat,
                   public std::enable_shared_from_this<PageViewer> {
 public:
  /// `room` outlives the viewer's operations.
  PageViewer(boost::beast::tcp_stream stream, pageHttp::Request request, PageRoom& room);

  /// Answers the request.
  void start();

  // PageGuest
  void showOut() override;
  void end() override;

  // PageSeat
  PageBacklog& backlog() override { return backlog_; }
  void wake() override { writeNext(); }
  void readOn() override;
  void refuse(PageRefusal refusal) override;

 private:
  using Error = boost::beast::error_code;
  enum class State { opening, stranger, viewer, leaving };

  void onAccepted(Error error);
  void expectWithin(std::chrono::milliseconds time, void (PageViewer::*late)());
  void keyIsLate();
  void programIsStuck();
  void farewellIsLate();

  void read();
  void onRead(Error error);
  PageMail::Room take(ByteView message);
  void takeKey(ByteView message);

  void writeNext();
  void onWritten(Error error);
  void onPong(std::string_view payload);
  void onFarewell();
  void leave();

  /// Nothing is compressed: video is already.
  boost::beast::websocket::stream<boost::beast::tcp_stream, false> socket_;
  boost::asio::steady_timer timer_;
  pageHttp::Request request_;
  PageRoom& room_;
  boost::beast::flat_buffer incoming_;
  PageBacklog backlog_;
  std::optional<PageBacklog::Item> outgoing_;
  State state_ = State::opening;
  bool isReading_ = false;
};

}  // namespace vesk::agent
