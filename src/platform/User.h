#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace vesk {

/// Thread: any. The user that the process runs as; each call asks the system anew.

/// The login name, in UTF-8; the numeric identifier in decimal for a user without a name.
std::string loginName();

/// The numeric identifier of the real user.
std::uint32_t userId();

/// The home directory: `HOME` where it is set and not empty, else what the user database says.
std::filesystem::path homeDirectory();

}  // namespace vesk
