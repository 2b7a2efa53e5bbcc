#include "agent/Command.h"

#include <array>
#include <utility>

#include "agent/CommandWords.h"

namespace vesk::agent {
namespace {

using namespace std::chrono_literals;
using Parsed = std::variant<Command, CommandError>;

constexpr auto defaultWait = 10s;

Bytes joined(Bytes first, const Bytes& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

Parsed sendControl(std::string_view text) { return Send{controlFrame(text)}; }

Parsed sendInput(std::string_view text) { return Send{inputFrame(text)}; }

Parsed error(std::string text) { return CommandError{std::move(text)}; }

Parsed notUtf8() { return error("the text is not UTF-8"); }

Parsed parseRaw(std::string_view rest) {
  auto bytes = words::hexadecimal(rest);
  if (!bytes || bytes->empty()) {
    return error("raw takes bytes in hexadecimal, such as: raw 01 00000000");
  }
  return Send{std::move(*bytes)};
}

Parsed parseFrame(std::string_view rest) {
  const auto kind = words::integer(words::takeWord(rest));
  if (!kind || *kind < 0 || *kind > 255) {
    return error("frame takes a kind from 0 to 255 and a payload, such as: frame 4 00ff");
  }
  const auto rawKind = static_cast<std::uint8_t>(*kind);
  const std::string_view payload = words::trimmed(rest);
  if (payload.starts_with('@')) {
    if (payload.size() == 1) return error("the name of the file is missing behind '@'");
    return SendFile{rawKind, std::string(payload.substr(1))};
  }
  const auto bytes = words::hexadecimal(payload);
  if (!bytes) return error("the payload is neither hexadecimal nor @FILE");
  return Send{frameOfKind(rawKind, *bytes)};
}

Parsed parseStart(std::string_view rest) {
  const auto text = requests::start(words::trimmed(rest));
  return text ? sendControl(*text) : notUtf8();
}

Parsed parseViewer(std::string_view rest) {
  const auto text = requests::viewer(words::trimmed(rest));
  return text ? sendControl(*text) : notUtf8();
}

Parsed parseType(std::string_view rest) {
  if (rest.empty()) return error("type takes a text, such as: type Hello");
  const auto text = requests::text(rest);
  return text ? sendInput(*text) : notUtf8();
}

Parsed parseBitrate(std::string_view rest) {
  const auto value = words::integer(words::trimmed(rest));
  if (!value) return error("bitrate takes kilobits a second, such as: bitrate 2500");
  return sendControl(requests::bitrate(*value));
}

Parsed parseMove(std::string_view rest) {
  const auto x = words::number(words::takeWord(rest));
  const auto y = words::number(words::trimmed(rest));
  if (!x || !y) return error("move takes two fractions of the screen, such as: move 0.5 0.25");
  return Move{{*x, *y}};
}

Parsed parseClick(std::string_view rest) {
  const std::string_view word = words::trimmed(rest);
  const auto button = word.empty() ? 0 : words::integer(word);
  if (!button) return error("click takes a button, such as: click 2");
  return Click{*button};
}

Parsed parseWheel(std::string_view rest) {
  const auto direction = words::integer(words::trimmed(rest));
  if (!direction) return error("wheel takes a direction, such as: wheel -1");
  return sendInput(requests::wheel(*direction));
}

Parsed parseKey(std::string_view rest) {
  using requests::KeyBlock;
  using requests::Stroke;
  const auto usage = [] {
    return error("key takes a virtual-key code, then down or up, such as: key 0x41 down");
  };
  const auto code = words::integer(words::takeWord(rest));
  if (!code) return usage();
  auto word = words::takeWord(rest);
  std::optional<Stroke> stroke;
  if (word == "down") stroke = Stroke::down;
  if (word == "up") stroke = Stroke::up;
  if (stroke) word = words::takeWord(rest);
  if (!(word.empty() || word == "extended") || !words::trimmed(rest).empty()) return usage();

  const auto block = word.empty() ? KeyBlock::main : KeyBlock::extended;
  if (stroke) return sendInput(requests::key(*code, *stroke, block));
  return Send{joined(inputFrame(requests::key(*code, Stroke::down, block)),
                     inputFrame(requests::key(*code, Stroke::up, block)))};
}

Parsed parseWait(std::string_view rest) {
  const auto op = words::takeWord(rest);
  const auto word = words::trimmed(rest);
  const auto limit = word.empty() ? defaultWait : words::seconds(word);
  if (op.empty() || !limit) {
    return error("wait takes an op and at most a number of seconds, such as: wait started 5");
  }
  return Wait{std::string(op), *limit};
}

Parsed parsePause(std::string_view rest) {
  const auto length = words::seconds(words::trimmed(rest));
  if (!length) return error("pause takes a number of seconds, such as: pause 0.5");
  return Pause{*length};
}

/// A command whose line is its name and nothing else.
struct PlainCommand {
  std::string_view name;
  Parsed (*make)();
};

constexpr auto plainCommands = std::to_array<PlainCommand>({
    {"stop", [] { return sendControl(requests::stop()); }},
    {"keyframe", [] { return sendControl(requests::keyframe()); }},
    {"allow-input", [] { return sendControl(requests::input(requests::Permission::allowed)); }},
    {"deny-input", [] { return sendControl(requests::input(requests::Permission::denied)); }},
    {"disconnect", []() -> Parsed { return Disconnect{}; }},
    {"stopreading", []() -> Parsed { return StopReading{}; }},
    {"startreading", []() -> Parsed { return StartReading{}; }},
    {"help", []() -> Parsed { return Help{}; }},
    {"quit", []() -> Parsed { return Quit{}; }},
});

/// A command that takes the rest of its line.
struct ArgumentCommand {
  std::string_view name;
  Parsed (*parse)(std::string_view rest);
};

constexpr auto argumentCommands = std::to_array<ArgumentCommand>({
    {"control", sendControl},
    {"input", sendInput},
    {"raw", parseRaw},
    {"frame", parseFrame},
    {"start", parseStart},
    {"viewer", parseViewer},
    {"bitrate", parseBitrate},
    {"move", parseMove},
    {"click", parseClick},
    {"wheel", parseWheel},
    {"key", parseKey},
    {"type", parseType},
    {"wait", parseWait},
    {"pause", parsePause},
});

constexpr std::string_view help =
    R"(  {...}                     send the line as a control frame, exactly as it is
  control TEXT              send TEXT as a control frame, exactly as it is
  input TEXT                send TEXT as an input frame, exactly as it is
  frame KIND HEX | @FILE    send a frame of any kind (0 to 255)
  raw HEX                   write these bytes on the stream
  start [NAME]              start a session that asks for consent and allows input
  stop                      end it
  keyframe                  ask for a key frame
  bitrate KBPS              change the bit rate
  allow-input, deny-input   change whether input is allowed
  viewer NAME               change the viewer's name
  move X Y                  move the pointer; fractions of the screen, 0 to 1
  click [B]                 press and release where the pointer is; 0 left, 1 middle, 2 right
  wheel D                   turn the wheel; the sign of D tells the direction
  key VK [down|up] [extended]  a Windows virtual-key code, such as 65 or 0x41
  type TEXT                 type TEXT
  wait OP [SECONDS]         go on when a message with that "op" has come (10 s at most)
  pause SECONDS             go on after that time
  stopreading, startreading  stop reading what the program sends, and go on with it
  disconnect                close the connection and go on listening
  help                      show this table
  quit                      end
Empty lines, and lines that begin with '#', are passed over.
)";

}  // namespace

std::optional<Parsed> parseCommand(std::string_view line) {
  std::string_view rest = words::trimmed(line);
  if (rest.empty() || rest.starts_with('#')) return std::nullopt;
  if (rest.starts_with('{')) return sendControl(line);

  rest = line;
  const std::string_view name = words::takeWord(rest);
  for (const auto& command : argumentCommands) {
    if (command.name == name) return command.parse(rest);
  }
  for (const auto& command : plainCommands) {
    if (command.name != name) continue;
    if (words::trimmed(rest).empty()) return command.make();
    return error(std::string(name) + " takes nothing behind it");
  }
  return error("unknown command '" + std::string(name) + "'; 'help' lists them");
}

std::string_view commandHelp() { return help; }

Bytes frameOfKind(std::uint8_t kind, ByteView payload) {
  return frameBytes(static_cast<FrameKind>(kind), payload);
}

ByteView bytesOf(std::string_view text) {
  return std::as_bytes(std::span(text.data(), text.size()));
}

Bytes controlFrame(std::string_view text) { return frameBytes(FrameKind::control, bytesOf(text)); }

Bytes inputFrame(std::string_view text) { return frameBytes(FrameKind::input, bytesOf(text)); }

}  // namespace vesk::agent
