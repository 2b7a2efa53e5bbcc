#include "agent/Session.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>

#include "agent/ExitStatus.h"
#include "agent/FrameAssembler.h"

namespace vesk::agent {
namespace {

using Clock = std::chrono::steady_clock;

/// poll passes over an entry with a negative descriptor.
constexpr int none = -1;

pollfd entry(int descriptor, int events) { return {descriptor, static_cast<short>(events), 0}; }

}  // namespace

Session::Session(const Options& options, Console& console, int input)
    : options_(options),
      console_(console),
      input_(input),
      listener_(options.socketPath),
      recorder_(options.recordFile, options.durationsFile),
      page_(options.pagePort ? openPage(*options.pagePort) : nullptr),
      script_(*this) {
  for (const auto& command : options.commands) script_.append(command);
}

int Session::run() {
  console_.note("listening at " + options_.socketPath);
  if (page_) console_.error("page: " + page_->address());
  while (!status_) {
    runScript(Clock::now());
    if (!status_) waitForEvents(Clock::now());
  }
  noteVideo();
  if (protocolErrors_ > 0) {
    console_.note("protocol errors: " + std::to_string(protocolErrors_));
  }
  return *status_;
}

void Session::runScript(TimePoint now) {
  // What the command line asks for begins with the first connection, waits and pauses included.
  if (!hasServed_ && !options_.commands.empty()) return;
  for (;;) {
    const auto result = script_.run(now);
    if (result == Script::Result::quit) status_ = exitStatus::success;
    if (result == Script::Result::waitTimedOut) status_ = exitStatus::waitTimedOut;
    if (status_ || !script_.isDone()) return;
    takeLines();
    if (script_.isDone()) break;
  }
  const bool isOver = options_.atEndOfInput == Options::AtEndOfInput::quit && !isInputOpen_;
  if (isOver) script_.append(Quit{});
  if (isOver && script_.run(now) == Script::Result::quit) status_ = exitStatus::success;
}

void Session::waitForEvents(TimePoint now) {
  const bool reads = connection_ && connection_->wantsToRead();
  const bool writes = connection_ && connection_->wantsToWrite();
  enum { signal, program, listener, input, page };
  std::array<pollfd, 5> entries{
      entry(signals_.descriptor(), POLLIN),
      entry(connection_ ? connection_->descriptor() : none,
            (reads ? POLLIN : 0) | (writes ? POLLOUT : 0)),
      entry(connection_ ? none : listener_.descriptor(), POLLIN),
      entry(takesLines() ? input_ : none, POLLIN),
      entry(takesWishes() ? page_->descriptor() : none, POLLIN),
  };
  if (::poll(entries.data(), entries.size(), timeout(now)) < 0) {
    if (errno == EINTR) return;
    throw std::system_error(errno, std::generic_category(), "poll");
  }
  if (entries[signal].revents != 0) {
    status_ = exitStatus::success;
    return;
  }
  // A program that is gone is noticed also by an agent that has stopped reading: what it left is
  // read then, since nothing else can come.
  if ((entries[program].revents & (POLLHUP | POLLERR)) != 0) connection_->startReading();
  if ((entries[program].revents & POLLOUT) != 0) connection_->write();
  if ((entries[program].revents & (POLLIN | POLLHUP | POLLERR)) != 0) readProgram();
  if (entries[listener].revents != 0) acceptProgram();
  if (entries[input].revents != 0) readInput();
  if (entries[page].revents != 0) takeWishes();
  if (video_.due() && Clock::now() >= *video_.due()) noteVideo();
}

int Session::timeout(TimePoint now) const {
  std::optional<TimePoint> due = script_.due();
  if (video_.due() && (!due || *video_.due() < *due)) due = video_.due();
  if (!due) return -1;
  const auto wait = std::chrono::ceil<std::chrono::milliseconds>(*due - now).count();
  return static_cast<int>(std::max<std::int64_t>(0, wait));
}

/// Lines are read only when all before them are carried out, so that whoever writes them is held
/// up instead of this process's memory filling.
bool Session::takesLines() const { return isInputOpen_ && script_.isDone(); }

void Session::acceptProgram() {
  Descriptor socket = listener_.accept();
  if (!socket) return;
  connection_ = std::make_unique<Connection>(std::move(socket));
  hasServed_ = true;
  console_.note("connected");
  if (page_) page_->programConnected();
}

void Session::readProgram() {
  const auto state = connection_->read();
  while (const auto frame = connection_->nextFrame()) {
    handleFrame(*frame);
    if (status_) return;
  }
  if (const auto length = connection_->brokenBy()) {
    protocolError("frame of " + std::to_string(*length) + " bytes; the agent takes " +
                  std::to_string(FrameAssembler::maxFrameSize) + " at most");
    loseProgram("disconnected, since the stream is broken");
  } else if (state == Connection::State::ended) {
    const auto unfinished = connection_->unfinished();
    loseProgram(unfinished == 0
                    ? "lost"
                    : "lost, with " + std::to_string(unfinished) + " bytes of an unfinished frame");
  }
}

void Session::handleFrame(const Frame& frame) {
  if (page_) page_->programSent(frame);
  const auto checked = checkFrame(frame);
  if (const auto* message = std::get_if<ControlMessage>(&checked)) {
    console_.message(message->text);
    script_.received(message->op);
  } else if (const auto* unit = std::get_if<AccessUnit>(&checked)) {
    handleVideo(*unit);
  } else if (const auto* error = std::get_if<ProtocolError>(&checked)) {
    if (error->accessUnit) handleVideo(*error->accessUnit);
    protocolError(error->text);
  }
}

void Session::handleVideo(const AccessUnit& unit) {
  recorder_.add(unit);
  video_.add(unit, Clock::now());
}

void Session::protocolError(const std::string& text) {
  ++protocolErrors_;
  console_.error("protocol error: " + text);
  if (page_) page_->note("The program sent what it may not: " + text);
  if (options_.onProtocolError == Options::OnProtocolError::end) {
    status_ = exitStatus::protocolError;
  }
}

void Session::loseProgram(const std::string& reason) {
  connection_.reset();
  if (page_) page_->programGone();
  noteVideo();
  console_.note(reason);
  if (options_.life == Options::Life::firstConnection && !status_) status_ = exitStatus::success;
}

void Session::readInput() {
  constexpr std::size_t pieceSize = 65536;
  std::string piece(pieceSize, '\0');
  const auto count = ::read(input_, piece.data(), piece.size());
  if (count > 0) {
    lines_.append(std::string_view(piece).substr(0, static_cast<std::size_t>(count)));
  } else if (count == 0 || (errno != EAGAIN && errno != EINTR)) {
    lines_.end();
    isInputOpen_ = false;
  }
}

/// Hands the script the next line that is a command.
void Session::takeLines() {
  while (const auto line = lines_.next()) {
    const auto parsed = parseCommand(*line);
    if (!parsed) continue;
    if (const auto* command = std::get_if<Command>(&*parsed)) {
      script_.append(*command);
      return;
    }
    console_.error(std::get<CommandError>(*parsed).text);
  }
}

void Session::noteVideo() {
  if (const auto note = video_.take()) console_.note(*note);
}

/// A page whose program does not read is held up, too.
bool Session::takesWishes() const { return page_ && !(connection_ && connection_->wantsToWrite()); }

void Session::takeWishes() {
  for (const auto& wish : page_->takeWishes()) {
    const auto* frame = std::get_if<Frame>(&wish);
    if (frame != nullptr && connection_)
      connection_->send(frameOfKind(frame->kind, frame->payload));
    if (const auto* note = std::get_if<PageNote>(&wish)) console_.note(note->text);
  }
}

/// The page is told first, so that nobody who knows that it was sent finds the page knowing less.
/// It is told nothing of what is no whole frame.
void Session::send(ByteView bytes) {
  if (page_) {
    FrameAssembler frames;
    frames.append(bytes);
    while (const auto frame = frames.next()) page_->agentSent(*frame);
  }
  connection_->send(bytes);
}

void Session::disconnect() { loseProgram("disconnected"); }

void Session::stopReading() {
  connection_->stopReading();
  console_.note("reading stopped");
}

void Session::startReading() {
  connection_->startReading();
  console_.note("reading");
}

void Session::showHelp() { console_.page(commandHelp()); }

void Session::reportError(const std::string& text) { console_.error(text); }

}  // namespace vesk::agent
