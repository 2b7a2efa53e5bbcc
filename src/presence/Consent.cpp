#include "presence/Consent.h"

#include <chrono>
#include <memory>
#include <utility>

#include "presence/ViewerName.h"

namespace vesk::Consent {
namespace {

constexpr std::chrono::seconds timeOut(60);

/// Runs the alert to its end. Whatever is not a press of "Allow" is a no.
bool isAllowed(Alerts& alerts, const std::string& viewer) {
  // The program has no other window and is never the one that the person works in, so without this
  // the question could come up behind everything.
  alerts.activateIgnoringOtherApps();
  const std::unique_ptr<Alert> alert = alerts.makeAlert();
  alert->setMessageText(viewerNameForDisplay(viewer) + " would like to view your screen");
  alert->setInformativeText(
      "They will see everything on this screen until the session ends. You can say no.");
  alert->addButton("Allow");
  alert->addButton("Don't Allow");
  alert->setLevel(WindowLevel::modalPanel);
  // A task of the main queue could not end the alert: it would wait for it.
  const std::unique_ptr<ModalTimer> timer =
      alerts.startModalTimer(timeOut, [&alerts] { alerts.abortModal(); });
  const ModalResponse response = alert->runModal();
  timer->invalidate();
  return response == ModalResponse::alertFirstButtonReturn;
}

}  // namespace

void ask(MainQueue& main, Alerts& alerts, const std::string& viewer,
         std::function<void(bool allowed)> completion) {
  main.async([&alerts, viewer, completion = std::move(completion)] {
    completion(isAllowed(alerts, viewer));
  });
}

}  // namespace vesk::Consent
