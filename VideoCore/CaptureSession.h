#pragma once

#include "VideoCore/ProjectStore.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

/// The marker file that identifies a project as being recorded, and by which process.
namespace orvo::CaptureSession {

inline constexpr std::string_view fileName = "capture-session.json";

/// Marks the project as being recorded by this process. Throws `std::filesystem::filesystem_error`.
void mark(const std::filesystem::path& projectFolder);

/// Removes the mark. Never fails.
void unmark(const std::filesystem::path& projectFolder) noexcept;

/// The process that records into this project. Returns nullopt when the file is missing or malformed, or when another
/// process has that number by now.
std::optional<std::int32_t> recordingProcess(const std::filesystem::path& projectFolder);

/// The process named in the text of a marker file, or nullopt. Rejects 0 and values that kill(2) treats as process
/// groups.
std::optional<std::int32_t> processIn(std::string_view session);

/// The text of a marker file for a recording by `process`.
std::string textFor(std::int32_t process);

/// Whether the project is marked as being recorded, even if the recorder has died.
bool isMarkedRecording(const VideoProject& project);

/// Whether a recording by `process` is still running. For this process itself, returns `thisProcessRecords`.
bool isAlive(std::optional<std::int32_t> process, bool thisProcessRecords);

/// The state to store for a project whose recording was interrupted in `state`.
std::string_view interruptedState(std::string_view state);

} // namespace orvo::CaptureSession
