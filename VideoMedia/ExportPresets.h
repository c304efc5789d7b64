#pragma once

#include "VideoMedia/ExportService.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace orvo {

/// What exports are made for: settings that belong together, for the application and the terminal.
struct ExportPreset {
    std::string_view id; ///< "moodle", "youtube", "correo", "audio", "gif" or "webm".
    std::string_view name; ///< In Spanish.
    std::string_view note; ///< What it does, in Spanish.
    bool needsSpan = false; ///< Whether it is meant for a selection.

    static std::span<const ExportPreset> all();
    /// Returns nullptr for a name that no preset has.
    static const ExportPreset* find(std::string_view id);

    /// The settings for a project. Subtitles are kept from `chosen` where the format has any.
    ExportSettings settings(const VideoProject& project, const ExportSettings& chosen) const;
};

/// What exports took on this machine, by which the next ones are estimated.
struct ExportPace {
    double secondsPerMegapixel = 0; ///< Of work for a million pixels of the result; 0 while nothing was measured.
    double bitShare = 0; ///< What films take of the bits they may; 0 while nothing was measured.

    /// As text for the settings, and back; a text that is none gives a pace without measurements.
    std::string text() const;
    static ExportPace parse(std::string_view text);

    /// The pace after another export. Recent ones count most.
    void add(const VideoProject& project, const ExportSettings& settings, double seconds, std::uintmax_t bytes);
};

/// What an export will take, roughly.
struct ExportEstimate {
    double duration = 0; ///< Seconds of the result.
    double seconds = 0; ///< Of work.
    double bytes = 0;

    static ExportEstimate of(const VideoProject& project, const ExportSettings& settings, const ExportPace& pace);
};

/// A title as a file name without extension that every file system takes, FAT and NTFS among them: at most 120 bytes,
/// without their forbidden characters, reserved names and trailing dots. Never empty.
std::string portableFileName(std::string_view title);

} // namespace orvo
