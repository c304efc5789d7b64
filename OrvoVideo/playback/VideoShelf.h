#pragma once

#include "OrvoVideo/playback/VideoSource.h"

#include <cstdint>
#include <list>

namespace orvo {

/// A video file as it was when it was looked at: a file that changed is another one.
struct VideoFile {
    std::filesystem::path path;
    int rotation = 0;
    std::uintmax_t size = 0;
    std::filesystem::file_time_type changed;

    bool operator==(const VideoFile&) const = default;
};

/// The opened video files, the last used ones; a decoder takes threads and tens of megabytes.
///
/// Of one more it holds a spare, on which a likely jump is made ready while the others play on.
class VideoShelf {
public:
    /// How many files stay open.
    static constexpr std::size_t kept = 3;

    /// The opened file. Throws as `VideoSource`.
    VideoSource& source(const VideoFile& file);

    /// Starts to make the picture of `file` at `seconds` ready, or goes on with that. Does not wait, and fails silently.
    void expect(const VideoFile& file, double seconds);
    /// Takes the spare for the file's source if it was made ready for just before `seconds`.
    void useExpected(const VideoFile& file, double seconds);

    void clear();

private:
    struct Entry {
        VideoFile file;
        std::unique_ptr<VideoSource> source;
    };

    std::list<Entry> m_entries; ///< The last used in front.
    std::optional<Entry> m_spare;
};

} // namespace orvo
