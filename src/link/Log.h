#pragma once

#include <string_view>

/// The one log of the process: "Library/Logs/Vesk Remote.log" in the user's home directory.
/// Lines tell of connections and sessions, and never of what was typed or shown.
namespace vesk::Log {

/// Thread: any. Appends one line; the first call of the process opens the file. Never fails. Of
/// lines of one kind at most a hundred a minute are written, then how many were left out.
void info(std::string_view message);

}  // namespace vesk::Log
