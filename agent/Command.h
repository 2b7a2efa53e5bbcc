#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "agent/Requests.h"
#include "link/Frame.h"

namespace vesk::agent {

/// The bytes to write on the stream: whole frames, or whatever the person composed.
struct Send {
  Bytes bytes;
};
/// A frame whose payload is in a file, read when the command's turn comes.
struct SendFile {
  std::uint8_t kind = 0;
  std::string path;
};
struct Move {
  requests::Position position;
};
/// A press and a release where the pointer was last moved to.
struct Click {
  std::int64_t button = 0;
};
struct Wait {
  std::string op;
  std::chrono::milliseconds limit{};
};
struct Pause {
  std::chrono::milliseconds length{};
};
struct Disconnect {};
struct StopReading {};
struct StartReading {};
struct Help {};
struct Quit {};

using Command = std::variant<Send, SendFile, Move, Click, Wait, Pause, Disconnect, StopReading,
                             StartReading, Help, Quit>;

/// Why a line is no command, as a sentence for the person who wrote it.
struct CommandError {
  std::string text;
};

/// The command in a line, which comes without its line feed. Nothing for a blank line and for a
/// comment, which begins with '#'.
std::optional<std::variant<Command, CommandError>> parseCommand(std::string_view line);

/// The table of the commands, for people.
std::string_view commandHelp();

/// A whole frame of any kind, also of those that name none.
Bytes frameOfKind(std::uint8_t kind, ByteView payload);

ByteView bytesOf(std::string_view text);

/// The frames that carry a request's text, or an input message's.
Bytes controlFrame(std::string_view text);
Bytes inputFrame(std::string_view text);

}  // namespace vesk::agent
