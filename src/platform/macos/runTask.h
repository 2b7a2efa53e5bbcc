#pragma once

#include "platform/SerialQueue.h"

/// How tasks cross the dispatch library, which knows C functions with one argument. Thread: any.
namespace vesk::mac {

/// Gives `task` away; `runTask` takes it.
void* _Nonnull givenAway(Task task);

/// Runs a task that was given away, with an autorelease pool of its own, and lets go of it before
/// it returns. An exception has nobody to catch it and ends the process.
void runTask(void* _Nullable task) noexcept;

/// Runs a task that its owner waits for.
void runBorrowedTask(void* _Nullable task) noexcept;

}  // namespace vesk::mac
