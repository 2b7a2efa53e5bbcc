#pragma once

namespace vesk {

/// The level of a window among all windows; the values are the Mac's own.
enum class WindowLevel : int { modalPanel = 8, screenSaver = 1000 };

}  // namespace vesk
