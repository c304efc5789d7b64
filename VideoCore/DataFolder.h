#pragma once

#include <filesystem>

namespace orvo {

/// The folder of everything that the application keeps for its user: "OrvoVideo" in the data folder that the XDG base
/// directories name. It need not exist.
std::filesystem::path dataFolder();

} // namespace orvo
