#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace orvo {

/// Equipment that the system's package manager can install.
enum class Package : std::uint8_t { ffmpeg, portal, tray, keyring, browser };

/// The shell command that installs a package on the system described by `release`, a file like /etc/os-release. Empty for
/// an unknown system. Never fails.
std::string installCommand(Package package, const std::filesystem::path& release = "/etc/os-release");

} // namespace orvo
