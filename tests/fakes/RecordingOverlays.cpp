#include "fakes/RecordingOverlays.h"

#include <algorithm>
#include <iterator>

namespace vesk::fakes {

class RecordingOverlays::RecordingOverlay final : public Overlay {
 public:
  RecordingOverlay(RecordingOverlays& overlays, std::size_t index)
      : overlays_(overlays), index_(index) {}
  ~RecordingOverlay() override {
    made().exists = false;
    made().shown = false;
  }

  void orderFrontRegardless() override {
    record("front");
    made().shown = true;
  }
  void orderOut() override {
    record("out");
    made().shown = false;
  }
  void setLabel(const std::string& text) override {
    overlays_.labels.push_back(text);
    if (made().appearance.label) made().label = text;
  }

 private:
  Made& made() { return overlays_.made[index_]; }
  void record(const std::string& call) {
    overlays_.calls.push_back(call + (made().appearance.background ? " strip" : " border"));
    overlays_.onCall(overlays_.calls.back());
  }

  RecordingOverlays& overlays_;
  std::size_t index_;
};

std::vector<RecordingOverlays::Made> RecordingOverlays::shown() const {
  std::vector<Made> found;
  std::ranges::copy_if(made, std::back_inserter(found), &Made::shown);
  return found;
}

std::unique_ptr<Overlay> RecordingOverlays::makeOverlay(const OverlayAppearance& appearance) {
  made.push_back({appearance, true, false, std::nullopt});
  return std::make_unique<RecordingOverlay>(*this, made.size() - 1);
}

}  // namespace vesk::fakes
