#include "VideoCore/PointerLog.h"

#include "VideoCore/DocumentCodec.h"
#include "VideoCore/FileIO.h"

#include <ranges>

namespace orvo::PointerLog {

std::vector<PointerEvent> eventsIn(std::string_view log)
{
    std::vector<PointerEvent> events;
    for (const auto line : log | std::views::split('\n')) {
        if (line.empty())
            continue;
        try {
            events.push_back(decodePointerEvent(std::string(std::string_view(line))));
        } catch (const DocumentError&) {
            continue;
        }
    }
    return events;
}

std::optional<std::vector<PointerEvent>> read(const std::filesystem::path& projectFolder)
{
    try {
        return eventsIn(readFile(projectFolder / fileName));
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

std::string linesOf(std::span<const PointerEvent> events)
{
    std::string lines;
    for (const auto& event : events)
        lines += encodePointerEvent(event) + '\n';
    return lines;
}

} // namespace orvo::PointerLog
