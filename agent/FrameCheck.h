#pragma once

#include <optional>
#include <string>
#include <variant>

#include "link/Frame.h"

namespace vesk::agent {

/// What a program may send.
struct ControlMessage {
  std::string op;
  std::string text;  ///< the JSON as it came, on one line
};
struct AccessUnit {
  Ticks duration{};
  ByteView bytes;  ///< into the frame
};
/// What is wrong with a frame, as a phrase for the integrator.
struct ProtocolError {
  std::string text;
  /// The access unit of a video frame that has one all the same.
  std::optional<AccessUnit> accessUnit = std::nullopt;
};

using CheckedFrame = std::variant<ControlMessage, AccessUnit, ProtocolError>;

/// The frame's content; the result may look into `frame`.
CheckedFrame checkFrame(const Frame& frame);

/// The beginning of `text` with every byte that is not printable ASCII as \xNN, for an error line.
std::string excerpt(ByteView text);

}  // namespace vesk::agent
