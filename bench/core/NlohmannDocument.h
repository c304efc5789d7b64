#pragma once

#include "VideoCore/VideoProject.h"

#include <string>
#include <string_view>

/// The project document read and written as one does with nlohmann/json when nothing but the result matters: the peer that
/// the document code is measured against.
namespace orvo::bench {

std::string encodeWithNlohmann(const VideoProject& project);

/// Throws an exception of nlohmann/json for a key that is missing or of the wrong type.
VideoProject decodeWithNlohmann(std::string_view document);

} // namespace orvo::bench
