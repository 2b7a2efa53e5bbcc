#include "agent/Requests.h"

#include <nlohmann/json.hpp>

namespace vesk::agent::requests {
namespace {

/// Keeps the members in the order in which they are given, so that people can read the lines.
using Json = nlohmann::ordered_json;

std::optional<std::string> dump(const Json& message) try {
  return message.dump();
} catch (const Json::type_error&) {
  return std::nullopt;  // a string in it is not UTF-8
}

std::string_view name(Stroke stroke) { return stroke == Stroke::down ? "down" : "up"; }

}  // namespace

std::optional<std::string> start(std::string_view viewerName) {
  return dump({{"op", "start"}, {"viewer", viewerName}, {"consent", true}, {"input", true}});
}

std::string stop() { return R"({"op":"stop"})"; }

std::string keyframe() { return R"({"op":"keyframe"})"; }

std::string bitrate(std::int64_t kilobitsPerSecond) {
  return Json{{"op", "bitrate"}, {"bitrateKbps", kilobitsPerSecond}}.dump();
}

std::string input(Permission permission) {
  return Json{{"op", "input"}, {"allowed", permission == Permission::allowed}}.dump();
}

std::optional<std::string> viewer(std::string_view name) {
  return dump({{"op", "viewer"}, {"name", name}});
}

std::string move(Position position) {
  return Json{{"t", "m"}, {"e", "move"}, {"x", position.x}, {"y", position.y}}.dump();
}

std::string button(std::int64_t button, Stroke stroke, Position position) {
  return Json{{"t", "m"}, {"e", name(stroke)}, {"x", position.x}, {"y", position.y}, {"b", button}}
      .dump();
}

std::string wheel(std::int64_t direction) {
  return Json{{"t", "m"}, {"e", "wheel"}, {"d", direction}}.dump();
}

std::string key(std::int64_t virtualKey, Stroke stroke, KeyBlock block) {
  Json message{{"t", "k"}, {"e", name(stroke)}, {"c", virtualKey}};
  if (block == KeyBlock::extended) message["x"] = true;
  return message.dump();
}

std::optional<std::string> text(std::string_view text) { return dump({{"t", "u"}, {"s", text}}); }

}  // namespace vesk::agent::requests
