#pragma once

#include "VideoCore/VideoProject.h"

#include <string>
#include <string_view>

/// Reads and writes the project document with nlohmann/json in its usual style: the peer for measuring the document code.
namespace orvo::bench {

std::string encodeWithNlohmann(const VideoProject& project);

/// Throws an exception of nlohmann/json if a key is missing or has the wrong type.
VideoProject decodeWithNlohmann(std::string_view document);

} // namespace orvo::bench
