#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

/// MP4 files with one video stream, as ffmpeg writes them.
namespace orvo::PieceFile {

struct Facts {
    std::int64_t frames = 0;
    std::string parameters; ///< The bytes of the decoder configuration ("avcC").
};

/// Reads the end of a file, where its tables are. Returns no frames and no parameters for a file that is missing, cannot be
/// read or is of another kind.
Facts factsOf(const std::filesystem::path& file);

} // namespace orvo::PieceFile
