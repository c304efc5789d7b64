#pragma once

#include "VideoMedia/ExportService.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace orvo {

/// A named set of export settings for one purpose, shared by the application and the terminal.
struct ExportPreset {
    std::string_view id; ///< "moodle", "youtube", "correo", "audio", "gif" or "webm".
    std::string_view name; ///< In Spanish.
    std::string_view note; ///< A description, in Spanish.
    bool needsSpan = false; ///< Whether it is meant for a selection.

    static std::span<const ExportPreset> all();
    /// Returns nullptr for an unknown identifier.
    static const ExportPreset* find(std::string_view id);

    /// The settings for a project. Keeps the subtitle settings of `chosen` where the format has subtitles.
    ExportSettings settings(const VideoProject& project, const ExportSettings& chosen) const;
};

/// The speed and size of earlier exports on this machine, from which the next ones are estimated.
struct ExportPace {
    double secondsPerMegapixel = 0; ///< Work per million pixels of the result; 0 without measurements.
    double bitShare = 0; ///< Share of the allowed bits that films use; 0 without measurements.

    /// The pace as text for the settings, and back. An invalid text gives a pace without measurements.
    std::string text() const;
    static ExportPace parse(std::string_view text);

    /// Adds the measurement of an export. Recent exports count most.
    void add(const VideoProject& project, const ExportSettings& settings, double seconds, std::uintmax_t bytes);
};

/// A rough estimate of an export.
struct ExportEstimate {
    double duration = 0; ///< Length of the result in seconds.
    double seconds = 0; ///< Time to export.
    double bytes = 0;

    static ExportEstimate of(const VideoProject& project, const ExportSettings& settings, const ExportPace& pace);
};

/// A title as a file name without extension that every file system accepts, including FAT and NTFS: at most 120 bytes,
/// without their forbidden characters, reserved names and trailing dots. Never empty.
std::string portableFileName(std::string_view title);

} // namespace orvo
