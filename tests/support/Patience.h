#pragma once

#include <functional>

namespace vesk::testing {

/// Milliseconds far beyond what anything takes, also on a machine with much else to do. The
/// environment variable VESK_PATIENCE sets another number of seconds.
int patience();

/// The number of seconds that the environment variable VESK_PATIENCE sets, or `otherwise`.
int chosenSeconds(int otherwise);

/// Polls for what nobody announces, a screen for one; whether it has come in time.
bool waitUntil(const std::function<bool()>& condition, int limitInMilliseconds = patience());

}  // namespace vesk::testing
