#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// The texts of the requests and input messages that have a short form for people. Each is compact
/// JSON with its discriminator first. Those that carry text have no value when it is not UTF-8.
namespace vesk::agent::requests {

/// A session that asks the person for consent and lets the viewer control the screen: what a
/// support call wants. Any other one is sent as JSON.
std::optional<std::string> start(std::string_view viewerName);
std::string stop();
std::string keyframe();
std::string bitrate(std::int64_t kilobitsPerSecond);

enum class Permission { denied, allowed };
std::string input(Permission permission);
std::optional<std::string> viewer(std::string_view name);

/// Where the pointer is, as fractions of the screen's width and height.
struct Position {
  double x = 0.5;
  double y = 0.5;
};

enum class Stroke { down, up };

std::string move(Position position);
/// Carries the position too: without it the press would land in the screen's first corner.
std::string button(std::int64_t button, Stroke stroke, Position position);
std::string wheel(std::int64_t direction);

enum class KeyBlock { main, extended };
std::string key(std::int64_t virtualKey, Stroke stroke, KeyBlock block);
std::optional<std::string> text(std::string_view text);

}  // namespace vesk::agent::requests
