#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

#include "link/Message.h"
#include "presence/Banner.h"

namespace vesk {

/// A viewing session is asked for.
struct StartRequest {
  std::string viewer;  ///< no longer than any name is shown
  bool input = false;
  bool consent = false;
  std::int64_t fps = 30;
  std::int64_t bitrateKbps = 4000;
  Banner::Style banner;
};

struct StopRequest {};

struct KeyframeRequest {};

struct BitrateRequest {
  std::int64_t bitrateKbps = 0;
};

struct InputRequest {
  bool allowed = false;
};

struct ViewerRequest {
  std::string name;  ///< no longer than any name is shown
};

using ControlRequest = std::variant<StartRequest, StopRequest, KeyframeRequest, BitrateRequest,
                                    InputRequest, ViewerRequest>;

/// What a message from the agent asks for; nothing when its "op" names no request, or when it lacks
/// what its request cannot do without. Members that do not convert take their defaults, and no
/// value is checked for sense: that belongs to those who use it. A request takes little memory,
/// however long its message was.
std::optional<ControlRequest> controlRequest(const Message& message);

}  // namespace vesk
