#include "cli/RenderOptions.h"

#include "cli/ArgumentValues.h"
#include "cli/Command.h"
#include "cli/ExitStatus.h"
#include "cli/ShownValues.h"
#include "cli/TextColumns.h"

#include <array>
#include <format>

namespace orvo::cli {

void addRenderOptions(Command& command, std::string& height, std::string& quality)
{
    command.option("--height", "N", height, "Altura en píxeles, como mucho la del proyecto; 1080 si no se indica.");
    command.option("--quality", "CALIDAD", quality,
        "small (menor peso), balanced (equilibrada) o high (alta); balanced si no se indica.");
}

ExportSettings renderSettings(const std::string& height, const std::string& quality)
{
    ExportSettings settings;
    if (!height.empty())
        settings.height = integerArgument("--height", height, {2, 8192});
    if (quality.empty())
        return settings;
    const auto known = parseExportQuality(quality);
    if (!known) {
        throw UsageError(std::format("No existe la calidad {}.{} Las calidades son small, balanced y high.",
            inQuotes(quality), suggestion(quality, exportQualityTexts)));
    }
    settings.quality = *known;
    return settings;
}

SubtitleCues subtitleCues(const std::string& name, const std::string& value)
{
    static constexpr std::array<std::string_view, 3> names{"words", "phrases", "none"};
    if (value.empty() || value == names[0])
        return SubtitleCues::words;
    if (value == names[1])
        return SubtitleCues::phrases;
    if (value == names[2] && name != "--cues")
        return SubtitleCues::none;
    throw UsageError(std::format("{} no puede ser {}.{} Escribe words{}.", name, inQuotes(value), suggestion(value, names),
        name == "--cues" ? " o phrases" : ", phrases o none"));
}

} // namespace orvo::cli
