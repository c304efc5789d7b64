#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace orvo {

/// The bits that a film may take for its size and rate.
enum class ExportQuality : std::uint8_t { small, balanced, high };

/// The texts of the qualities, in order, for settings, signatures and the command line.
inline constexpr std::array<std::string_view, 3> exportQualityTexts{"small", "balanced", "high"};

constexpr std::string_view textOf(ExportQuality quality)
{
    return exportQualityTexts[static_cast<std::size_t>(quality)];
}

constexpr std::optional<ExportQuality> parseExportQuality(std::string_view text)
{
    for (std::size_t i = 0; i < exportQualityTexts.size(); ++i) {
        if (exportQualityTexts[i] == text)
            return static_cast<ExportQuality>(i);
    }
    return std::nullopt;
}

} // namespace orvo
