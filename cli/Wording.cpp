#include "cli/Wording.h"

#include "cli/TextColumns.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <format>

namespace orvo::cli {

std::string shownTitle(std::string_view title)
{
    return title.empty() ? "(sin título)" : printable(title);
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
