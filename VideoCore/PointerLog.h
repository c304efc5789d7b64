#pragma once

#include "VideoCore/VideoProject.h"

#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// The pointer log that a recording appends to: one pointer event per line, in the JSON form of the document.
namespace orvo::PointerLog {

inline constexpr std::string_view fileName = "pointer-events.jsonl";

/// The events of a log in order. Skips invalid lines: an interrupted recording may end in the middle of one.
std::vector<PointerEvent> eventsIn(std::string_view log);

/// The events of the log in this project's folder, or nullopt when it cannot be read.
std::optional<std::vector<PointerEvent>> read(const std::filesystem::path& projectFolder);

/// These events as lines of a log, each ending with a line feed.
///
/// Throws `DocumentError` for a number that is not finite.
std::string linesOf(std::span<const PointerEvent> events);

} // namespace orvo::PointerLog
