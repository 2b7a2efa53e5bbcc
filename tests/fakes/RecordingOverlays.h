#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/Overlays.h"

namespace vesk::fakes {

/// Overlays without windows: what was made is kept, every call is written down in order. An overlay
/// is named after what it shows, "strip" with a background and "border" without. Thread: the
/// test's.
class RecordingOverlays final : public Overlays {
 public:
  struct Made {
    OverlayAppearance appearance;
    bool exists = true;
    bool shown = false;
    std::optional<std::string> label;
  };

  std::vector<Screen> screenList;
  std::optional<Screen> main;

  std::vector<std::string> calls;

  /// Told of each call before it changes anything.
  std::function<void(const std::string& call)> onCall = [](const auto&) {};

  std::vector<Made> made;
  std::vector<std::string> labels;  ///< every one that was set

  /// The overlays that are in sight.
  std::vector<Made> shown() const;

  std::vector<Screen> screens() override { return screenList; }
  std::optional<Screen> mainScreen() override { return main; }
  std::unique_ptr<Overlay> makeOverlay(const OverlayAppearance& appearance) override;

 private:
  class RecordingOverlay;
};

}  // namespace vesk::fakes
