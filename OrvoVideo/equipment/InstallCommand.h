#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace orvo {

/// What a system's own packages can add.
enum class Package : std::uint8_t { ffmpeg, portal, tray, keyring, browser };

/// The command that installs a package on the system that `release` describes (a file like /etc/os-release). Empty for a
/// system whose packages are not known. Never fails.
std::string installCommand(Package package, const std::filesystem::path& release = "/etc/os-release");

} // namespace orvo
