#pragma once

#include "VideoCore/VideoProject.h"

#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// The pointer log that a recording writes as it goes: one pointer event on each line, in the JSON form of the document.
namespace orvo::PointerLog {

inline constexpr std::string_view fileName = "pointer-events.jsonl";

/// The events of a log in their order. A line that is no event is left out: a recording that was cut off may end in the
/// middle of one.
std::vector<PointerEvent> eventsIn(std::string_view log);

/// The events of the log in this project's folder; nothing when there is none that can be read.
std::optional<std::vector<PointerEvent>> read(const std::filesystem::path& projectFolder);

/// These events as lines of a log, each ended by a line feed.
///
/// Throws `DocumentError` for a number that is not finite.
std::string linesOf(std::span<const PointerEvent> events);

} // namespace orvo::PointerLog
