#pragma once

#include "VideoCore/UniqueFd.h"

#include <filesystem>
#include <string_view>
#include <sys/types.h>

namespace orvo {

/// A new file that only grows, by whole appends. Not thread-safe.
class AppendedFile {
public:
    /// Creates the file with owner-only access (mode 0600). Throws `std::filesystem::filesystem_error`, also when it
    /// exists.
    explicit AppendedFile(std::filesystem::path file);

    /// Appends all bytes or none; does not flush them to disk. Throws `std::filesystem::filesystem_error`; the next append
    /// then continues where this one began.
    void append(std::string_view bytes);

private:
    std::filesystem::path m_path;
    UniqueFd m_descriptor;
    off_t m_length = 0;
};

} // namespace orvo
