#include "agent/server/PageViewer.h"

#include <charconv>
#include <system_error>
#include <utility>

#include "agent/server/PageMessage.h"

namespace vesk::agent {
namespace {

namespace websocket = boost::beast::websocket;
using Clock = std::chrono::steady_clock;

constexpr std::size_t maxAnnounced = std::size_t{16} * 1024 * 1024;

/// Only the answer to the request and the farewell have to be fast. A viewer may be silent for as
/// long as it likes: on the loopback address no connection is ever lost without notice.
websocket::stream_base::timeout timeouts(const PageRoom::Times& times) {
  return {times.farewell, websocket::stream_base::none(), false};
}

}  // namespace

PageViewer::PageViewer(boost::beast::tcp_stream stream, pageHttp::Request request, PageRoom& room)
    : socket_(std::move(stream)),
      timer_(socket_.get_executor()),
      request_(std::move(request)),
      room_(room) {}

void PageViewer::start() {
  boost::beast::get_lowest_layer(socket_).expires_never();
  Error ignored;
  boost::beast::get_lowest_layer(socket_).socket().set_option(boost::asio::ip::tcp::no_delay(true),
                                                              ignored);
  socket_.set_option(timeouts(room_.times()));
  socket_.set_option(websocket::stream_base::decorator([](websocket::response_type& response) {
    response.set(boost::beast::http::field::sec_websocket_protocol,
                 std::string(pageHttp::subprotocol));
    pageHttp::secure(response);
  }));
  socket_.auto_fragment(false);
  // The length of what comes is checked here, so that the refusal comes with words. A header that
  // announces this much is not worth waiting for.
  socket_.read_message_max(maxAnnounced);
  socket_.control_callback([this](websocket::frame_type type, boost::beast::string_view payload) {
    if (type == websocket::frame_type::pong) onPong({payload.data(), payload.size()});
    if (type == websocket::frame_type::close) onFarewell();
  });
  socket_.async_accept(request_,
                       [self = shared_from_this()](Error error) { self->onAccepted(error); });
}

void PageViewer::onAccepted(Error error) {
  if (error || state_ != State::opening) return leave();
  state_ = State::stranger;
  expectWithin(room_.times().key, &PageViewer::keyIsLate);
  read();
}

void PageViewer::expectWithin(std::chrono::milliseconds time, void (PageViewer::*late)()) {
  timer_.expires_after(time);
  timer_.async_wait([weak = weak_from_this(), late](Error error) {
    const auto self = weak.lock();
    if (!error && self) ((*self).*late)();
  });
}

void PageViewer::keyIsLate() {
  if (state_ == State::stranger) {
    refuse({pageRefusal::wrongKey, "The page has not given its key in time. Reload it."});
  }
}

/// A page whose messages are not read is not seen to leave either: it would have the seat for good.
void PageViewer::programIsStuck() {
  if (state_ != State::viewer || isReading_) return;
  refuse({pageRefusal::stuckProgram,
          "The program takes nothing any more. Try again when it goes on."});
}

void PageViewer::farewellIsLate() { boost::beast::get_lowest_layer(socket_).close(); }

void PageViewer::showOut() {
  if (state_ != State::viewer) farewellIsLate();
}

void PageViewer::end() {
  if (state_ == State::opening) return farewellIsLate();
  refuse({pageRefusal::agentEnds, "The agent has ended."});
}

void PageViewer::refuse(PageRefusal refusal) {
  if (state_ == State::opening || state_ == State::leaving) return;
  const auto self = shared_from_this();  // the room may be its only owner
  leave();
  if (refusal.code != pageRefusal::agentEnds) room_.note("refused: " + refusal.words);
  // Closing waits for the message that is being written, and a page may never read that.
  expectWithin(room_.times().farewell, &PageViewer::farewellIsLate);
  websocket::close_reason reason(refusal.words.c_str());
  reason.code = refusal.code;
  socket_.async_close(reason, [self](Error) { self->timer_.cancel(); });
}

void PageViewer::readOn() {
  if (isReading_ || state_ != State::viewer) return;
  timer_.cancel();
  read();
}

void PageViewer::read() {
  isReading_ = true;
  const auto room = pageMessage::maxSize + 1 - incoming_.size();
  socket_.async_read_some(incoming_, room, [self = shared_from_this()](Error error, std::size_t) {
    self->isReading_ = false;
    self->onRead(error);
  });
}

void PageViewer::onRead(Error error) {
  if (state_ == State::leaving) {
    if (error) timer_.cancel();
    return;
  }
  if (error) {
    if (error.category() == make_error_code(websocket::error::closed).category() &&
        error != websocket::error::closed) {
      room_.note("refused: the page broke the rules of WebSockets: " + error.message());
    }
    return leave();
  }
  if (incoming_.size() > pageMessage::maxSize) {
    return refuse({pageRefusal::malformed, "The page sent a message that is too long."});
  }
  if (!socket_.is_message_done()) return read();
  const auto data = incoming_.data();
  const auto room = take(ByteView(static_cast<const std::byte*>(data.data()), data.size()));
  incoming_.clear();
  if (state_ == State::leaving) return;
  if (room == PageMail::Room::some) return read();
  expectWithin(room_.times().stuck, &PageViewer::programIsStuck);
}

PageMail::Room PageViewer::take(ByteView message) {
  if (state_ == State::stranger) {
    takeKey(message);
    return PageMail::Room::some;
  }
  if (socket_.got_text()) {
    refuse({pageRefusal::malformed, "The page sent a text that the agent does not know."});
    return PageMail::Room::none;
  }
  auto parsed = pageMessage::parseFrame(message);
  if (auto* frame = std::get_if<Frame>(&parsed)) return room_.fromViewer(std::move(*frame));
  refuse({pageRefusal::malformed, std::get<pageMessage::Malformed>(parsed).text});
  return PageMail::Room::none;
}

void PageViewer::takeKey(ByteView message) {
  const auto key = socket_.got_text() ? pageMessage::parseKey(message) : std::nullopt;
  if (!key) {
    return refuse({pageRefusal::wrongKey,
                   "The page gave no key. Open the address that the agent has shown."});
  }
  state_ = State::viewer;
  const auto browser = pageHttp::browserOf(request_, room_.port());
  if (auto refusal = room_.sit(shared_from_this(), *key, browser, Clock::now())) {
    return refuse(std::move(*refusal));
  }
  timer_.cancel();
}

void PageViewer::writeNext() {
  if (outgoing_ || state_ != State::viewer) return;
  outgoing_ = backlog_.next();
  if (!outgoing_) return;
  socket_.text(outgoing_->kind == PageBacklog::Item::Kind::text);
  socket_.async_write(
      boost::asio::buffer(outgoing_->bytes.data(), outgoing_->bytes.size()),
      [self = shared_from_this()](Error error, std::size_t) { self->onWritten(error); });
}

/// The system takes seconds of video that the page never reads. A ping behind each access unit is
/// answered when that was read, by the browser itself.
void PageViewer::onWritten(Error error) {
  if (error) return leave();
  const bool isVideo = outgoing_->kind == PageBacklog::Item::Kind::video;
  if (!isVideo || state_ != State::viewer) {
    outgoing_.reset();
    return writeNext();
  }
  websocket::ping_data payload;
  payload.append(std::to_string(backlog_.written()).c_str());
  socket_.async_ping(payload, [self = shared_from_this()](Error pingError) {
    self->outgoing_.reset();
    if (pingError) return self->leave();
    self->writeNext();
  });
}

void PageViewer::onPong(std::string_view payload) {
  std::uint64_t units = 0;
  const auto result = std::from_chars(payload.data(), payload.data() + payload.size(), units);
  if (result.ec != std::errc() || state_ != State::viewer) return;
  backlog_.arrived(units);
  room_.tend(Clock::now());
}

/// The seat is free at once, for the page that is being loaded anew; its connection ends when the
/// browser has closed its own end as well, or in a while.
void PageViewer::onFarewell() {
  if (state_ == State::leaving) return;
  leave();
  expectWithin(room_.times().farewell, &PageViewer::farewellIsLate);
}

void PageViewer::leave() {
  state_ = State::leaving;
  timer_.cancel();
  room_.leave(*this);
}

}  // namespace vesk::agent
