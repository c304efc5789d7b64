#pragma once

#include <filesystem>
#include <string>

namespace orvo {

/// Size and modification time of a file as a text, to detect changes; empty if it is not a file.
std::string fileState(const std::filesystem::path& file);

} // namespace orvo
