#pragma once

#include <filesystem>

namespace orvo {

/// The folder of everything that the application keeps for its user: "OrvoVideo" in the data folder that the XDG base
/// directories name. It need not exist.
std::filesystem::path dataFolder();

/// The folder of all applications' settings for the user, as the XDG base directories name it. It need not exist.
std::filesystem::path configurationHome();

} // namespace orvo
