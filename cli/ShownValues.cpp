#include "cli/ShownValues.h"

#include "cli/TextColumns.h"

#include <array>
#include <ctime>

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

} // namespace orvo::cli
