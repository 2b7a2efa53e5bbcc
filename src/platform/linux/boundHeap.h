#pragma once

namespace vesk {

/// Has the C library give large blocks back to the system as soon as they are free, in every
/// thread. By itself it keeps them once it has seen them, so that whoever sends large messages, of
/// which few are ever alive at once, could make the process some thirty megabytes larger for good.
/// Thread: main, before there are others.
void boundHeap();

}  // namespace vesk
