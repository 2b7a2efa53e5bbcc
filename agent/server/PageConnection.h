#pragma once

#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http/parser.hpp>
#include <memory>
#include <optional>

#include "agent/server/PageGuest.h"
#include "agent/server/PageHttp.h"
#include "agent/server/PageRoom.h"

namespace vesk::agent {

/// One connection to the page's port: reads a request, answers it and ends, or hands its socket on
/// to a `PageViewer`.
///
/// Thread: the page's. Owns: the socket; its pending operations own it. Fails: whatever is wrong
/// with the request is answered in words, unless it takes too long.
class PageConnection : public PageGuest, public std::enable_shared_from_this<PageConnection> {
 public:
  /// `room` outlives the connection's operations.
  PageConnection(boost::asio::ip::tcp::socket socket, PageRoom& room);

  void start();

  void showOut() override;
  void end() override { showOut(); }

 private:
  using Error = boost::beast::error_code;

  void onRequest(Error error);
  void becomeViewer();
  void respond(pageHttp::Response response);
  void onResponse();
  void drain();

  boost::beast::tcp_stream stream_;
  PageRoom& room_;
  boost::beast::flat_buffer buffer_;
  std::optional<boost::beast::http::request_parser<boost::beast::http::empty_body>> parser_;
  std::optional<pageHttp::Response> response_;
  std::size_t drained_ = 0;
  bool isHandedOn_ = false;  ///< the stream is another's then
};

}  // namespace vesk::agent
