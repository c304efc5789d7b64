#include "cli/Wording.h"

#include "cli/Text.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <format>
#include <utility>

namespace orvo::cli {

std::string shownTitle(std::string_view title)
{
    return title.empty() ? "(sin título)" : printable(title);
}

std::string stateName(std::string_view state)
{
    static constexpr std::array<std::pair<std::string_view, std::string_view>, 7> names{{
        {ProjectState::ready, "Listo"},
        {ProjectState::recording, "Grabando"},
        {ProjectState::recordingTab, "Grabando pestaña"},
        {ProjectState::processingTab, "Por preparar"},
        {ProjectState::recoverable, "Por recuperar"},
        {ProjectState::recoverableTab, "Por recuperar"},
        {ProjectState::needsRecovery, "Por recuperar"},
    }};
    const auto found = std::ranges::find(names, state, [](const auto& name) { return name.first; });
    return found == names.end() ? printable(state) : std::string(found->second);
}

std::string trackName(TrackKind kind)
{
    switch (kind) {
    case TrackKind::screen:
        return "Pantalla";
    case TrackKind::camera:
        return "Cámara";
    case TrackKind::microphone:
        return "Micrófono";
    case TrackKind::system:
        return "Sistema";
    case TrackKind::clip:
        return "Clip";
    }
    return "";
}

std::string localTime(DateTime instant)
{
    const std::time_t seconds =
        std::chrono::system_clock::to_time_t(std::chrono::time_point_cast<std::chrono::system_clock::duration>(instant));
    std::tm local{};
    if (!localtime_r(&seconds, &local))
        return formatIso8601(instant);
    std::array<char, 32> text{};
    const std::size_t length = std::strftime(text.data(), text.size(), "%d/%m/%Y %H:%M", &local);
    return {text.data(), length};
}

std::string fileSize(std::uintmax_t bytes)
{
    const auto size = static_cast<double>(bytes);
    return size < 1e6 ? std::format("{:.0f} KB", std::max(1.0, size / 1e3)) : std::format("{:.1f} MB", size / 1e6);
}

} // namespace orvo::cli
