#pragma once

#include "OrvoVideo/playback/VideoSource.h"

#include <cstdint>
#include <list>

namespace orvo {

/// A video file and its state when it was examined; a changed file compares as different.
struct VideoFile {
    std::filesystem::path path;
    int rotation = 0;
    std::uintmax_t size = 0;
    std::filesystem::file_time_type changed;

    bool operator==(const VideoFile&) const = default;
};

/// The most recently used video files, kept open; a decoder takes threads and tens of megabytes.
///
/// Keeps one more as a spare, which prepares a likely seek while the others play.
class VideoShelf {
public:
    /// Number of files kept open.
    static constexpr std::size_t kept = 3;

    /// The opened file. Throws as `VideoSource`.
    VideoSource& source(const VideoFile& file);

    /// Starts or continues preparing the frame of `file` at `seconds`. Does not wait; ignores errors.
    void expect(const VideoFile& file, double seconds);
    /// Makes the spare the file's source if it was prepared for a time just before `seconds`.
    void useExpected(const VideoFile& file, double seconds);

    void clear();

private:
    struct Entry {
        VideoFile file;
        std::unique_ptr<VideoSource> source;
    };

    std::list<Entry> m_entries; ///< Most recently used first.
    std::optional<Entry> m_spare;
};

} // namespace orvo
