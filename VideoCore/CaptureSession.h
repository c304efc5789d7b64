#pragma once

#include "VideoCore/ProjectStore.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

/// What a recording in progress leaves in its project's folder to be recognised by.
namespace orvo::CaptureSession {

inline constexpr std::string_view fileName = "capture-session.json";

/// Marks the project as being recorded by this process. Throws `std::filesystem::filesystem_error`.
void mark(const std::filesystem::path& projectFolder);

/// Takes the mark away. Never fails.
void unmark(const std::filesystem::path& projectFolder) noexcept;

/// Whether the disk of a folder has the least room, 48 MiB: with less, no recording begins, and one that runs ends by
/// itself. A disk that does not say has it.
bool hasRoom(const std::filesystem::path& folder) noexcept;

/// The process that records into this project; nothing when the file is missing, malformed or names none, or when the number
/// belongs to somebody else by now.
std::optional<std::int32_t> recordingProcess(const std::filesystem::path& projectFolder);

/// The process that the text of such a file names, or nothing. A number that stands for more than one process names none.
std::optional<std::int32_t> processIn(std::string_view session);

/// The text of such a file for a recording by `process`.
std::string textFor(std::int32_t process);

/// Whether the project is marked as being recorded, whether or not it still is.
bool isMarkedRecording(const VideoProject& project);

/// Whether a recording by `process` still runs. One of this process itself does only while `thisProcessRecords`.
bool isAlive(std::optional<std::int32_t> process, bool thisProcessRecords);

/// The state of a project whose recording was cut off while it had this state.
std::string_view interruptedState(std::string_view state);

} // namespace orvo::CaptureSession
