#pragma once

#include <string_view>

#include "platform/Processes.h"

/// One copy of the program per user, started by its own job.
/// Thread: main, before anything else is started. Fails: silently.
namespace vesk::SingleInstance {

/// The label of the job and the identifier of the application's bundle.
inline constexpr std::string_view jobLabel = "com.vesk.tovarin.screen";

/// Whether this process's environment says that the job started it.
bool startedByOurJob(const Processes& processes);

/// Returns only in a process of the job. Any other asks for the job to be started, waits for that
/// request to end, and exits with status 0, however it ended.
void handOverIfNotOurJob(Processes& processes);

/// Ends every other copy at once; does not wait until they are gone.
void closeOthers(Processes& processes);

}  // namespace vesk::SingleInstance
