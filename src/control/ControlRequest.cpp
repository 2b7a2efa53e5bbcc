#include "control/ControlRequest.h"

#include "presence/ViewerName.h"

namespace vesk {
namespace {

std::string name(const Message& message, std::string_view member) {
  return std::string(withinNameBounds(message.string(member).value_or("")));
}

StartRequest startRequest(const Message& message) {
  StartRequest request;
  request.viewer = name(message, "viewer");
  request.input = message.boolean("input").value_or(false);
  request.consent = message.boolean("consent").value_or(false);
  request.fps = message.integer("fps").value_or(request.fps);
  request.bitrateKbps = message.integer("bitrateKbps").value_or(request.bitrateKbps);
  request.banner = Banner::Style(message.object("banner"));
  return request;
}

}  // namespace

std::optional<ControlRequest> controlRequest(const Message& message) {
  const auto op = message.string("op");
  if (op == "start") return startRequest(message);
  if (op == "stop") return StopRequest{};
  if (op == "keyframe") return KeyframeRequest{};
  if (op == "bitrate") {
    const auto value = message.integer("bitrateKbps");
    return value ? std::optional<ControlRequest>(BitrateRequest{*value}) : std::nullopt;
  }
  if (op == "input") return InputRequest{message.boolean("allowed").value_or(false)};
  if (op == "viewer") return ViewerRequest{name(message, "name")};
  return std::nullopt;
}

}  // namespace vesk
