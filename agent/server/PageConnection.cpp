#include "agent/server/PageConnection.h"

#include <boost/beast/http/read.hpp>
#include <boost/beast/http/write.hpp>
#include <utility>

#include "agent/server/PageViewer.h"

namespace vesk::agent {
namespace {

namespace http = boost::beast::http;

/// Browsers send the cookies of all ports of an address.
constexpr std::size_t maxHeader = std::size_t{64} * 1024;

/// What is read of a refused request that goes on, so that its sender gets to read the refusal.
constexpr std::size_t maxDrained = std::size_t{256} * 1024;

pageHttp::Response refusalOf(boost::beast::error_code error) {
  using pageHttp::Status;
  if (error == http::error::header_limit || error == http::error::buffer_overflow) {
    return pageHttp::refusal(Status::request_header_fields_too_large, "The request is too long.");
  }
  return pageHttp::refusal(Status::bad_request, "This is no request that a browser would make.");
}

bool isAboutTheRequest(boost::beast::error_code error) {
  return error.category() == http::make_error_code(http::error::bad_method).category() &&
         error != http::error::end_of_stream && error != http::error::partial_message;
}

}  // namespace

PageConnection::PageConnection(boost::asio::ip::tcp::socket socket, PageRoom& room)
    : stream_(std::move(socket)), room_(room), buffer_(2 * maxHeader) {}

void PageConnection::start() {
  parser_.emplace();
  parser_->header_limit(maxHeader);
  stream_.expires_after(room_.times().request);
  http::async_read(
      stream_, buffer_, *parser_,
      [self = shared_from_this()](Error error, std::size_t) { self->onRequest(error); });
}

void PageConnection::showOut() {
  if (!isHandedOn_) stream_.close();
}

void PageConnection::onRequest(Error error) {
  if (isAboutTheRequest(error)) return respond(refusalOf(error));
  if (error) return stream_.close();
  if (auto response = pageHttp::answer(parser_->get(), room_.port())) {
    return respond(std::move(*response));
  }
  // Nobody speaks on before the WebSocket is agreed on.
  if (buffer_.size() > 0) return respond(refusalOf({}));
  becomeViewer();
}

void PageConnection::becomeViewer() {
  isHandedOn_ = true;
  const auto viewer = std::make_shared<PageViewer>(std::move(stream_), parser_->release(), room_);
  room_.welcome(viewer);
  viewer->start();
}

void PageConnection::respond(pageHttp::Response response) {
  using Class = http::status_class;
  if (http::to_status_class(response.result()) != Class::successful &&
      response.result() != pageHttp::Status::not_found) {
    room_.note("refused: " + response.body().substr(0, response.body().find('\n')));
  }
  response_ = std::move(response);
  response_->keep_alive(false);
  stream_.expires_after(room_.times().farewell);
  http::async_write(stream_, *response_, [self = shared_from_this()](Error error, std::size_t) {
    if (!error) self->onResponse();
  });
}

void PageConnection::onResponse() {
  Error ignored;
  stream_.socket().shutdown(boost::asio::ip::tcp::socket::shutdown_send, ignored);
  drain();
}

/// A socket that is closed with something unread takes back what it has sent.
void PageConnection::drain() {
  buffer_.clear();
  stream_.async_read_some(buffer_.prepare(maxHeader),
                          [self = shared_from_this()](Error error, std::size_t count) {
                            self->drained_ += count;
                            if (!error && self->drained_ < maxDrained) self->drain();
                          });
}

}  // namespace vesk::agent
