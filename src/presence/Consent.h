#pragma once

#include <functional>
#include <string>

#include "platform/Alerts.h"
#include "platform/MainQueue.h"

/// Asks the person at the screen whether somebody may see it.
namespace vesk::Consent {

/// Puts the question up as a task of the main queue and returns at once. Silence is a no: the
/// question gives up after a minute.
///
/// Thread: any. Owns: nothing beyond the answer; `main` and `alerts` outlive the task.
/// Calls back: `completion`, exactly once, on the main thread, when the alert is gone.
void ask(MainQueue& main, Alerts& alerts, const std::string& viewer,
         std::function<void(bool allowed)> completion);

}  // namespace vesk::Consent
