#pragma once

#include <filesystem>

namespace orvo {

/// The application's data folder of this user: "OrvoVideo" in the XDG data folder. It may not exist.
std::filesystem::path dataFolder();

/// The XDG configuration folder, shared by all applications of this user. It may not exist.
std::filesystem::path configurationHome();

} // namespace orvo
