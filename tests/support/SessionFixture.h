#pragma once

#include <string_view>

#include "support/ControllerFixture.h"

namespace vesk::testing {

/// A controller in its sessions.
class SessionFixture : public ControllerFixture {
 protected:
  static constexpr auto startMessage = R"({"op":"start"})";
  static constexpr auto startWithInput = R"({"op":"start","input":true})";
  static constexpr auto stopMessage = R"({"op":"stop"})";
  static constexpr auto keyDown = R"({"t":"k","c":65,"e":"down"})";

  static constexpr auto awaiting = R"({"op":"state","state":"awaiting-consent"})";
  static constexpr auto starting = R"({"op":"state","state":"starting"})";
  static constexpr auto started =
      R"({"accessibility":true,"height":1080,"op":"started","width":1920})";
  static constexpr auto denied =
      R"({"message":"The person at the Mac did not allow it.","op":"denied"})";

  /// A running session, its messages heard.
  void run(std::string_view request = startMessage);

  bool isCapturing() { return !fakes_.compression.sessions.empty() && session()->alive; }
  bool isBannerShown() { return !fakes_.overlays.shown().empty(); }

  /// The screen's picture, which the encoder gets.
  void makePicture();

  /// The same as it leaves the encoder.
  void makeKeyFrame();
  void makeDeltaFrame();
};

}  // namespace vesk::testing
