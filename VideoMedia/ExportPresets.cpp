#include "VideoMedia/ExportPresets.h"

#include "VideoMedia/Cores.h"
#include "VideoMedia/HlsLadder.h"
#include "VideoMedia/RenderGraph.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <format>

namespace orvo {

namespace {

constexpr std::array<ExportPreset, 6> presets{{
    {.id = "moodle", .name = "Moodle", .note = "MP4 de 720p y poco peso, con subtítulos en un archivo aparte"},
    {.id = "youtube", .name = "YouTube", .note = "MP4 en el tamaño de la grabación y con la mayor calidad"},
    {.id = "correo", .name = "Correo ≤ 20 MB", .note = "MP4 que cabe en un mensaje de correo"},
    {.id = "audio", .name = "Solo audio", .note = "El sonido del vídeo, en M4A"},
    {.id = "gif", .name = "GIF de la selección", .note = "Imagen animada sin sonido, de 480p", .needsSpan = true},
    {.id = "webm", .name = "WebM", .note = "VP9 y Opus, para páginas web"},
}};

constexpr double gifBitsPerPixel = 0.55; // Measured with screen lessons; films with more motion take more.
constexpr auto audioBits = static_cast<double>(HlsLadder::audioBitRate);

double megapixels(const VideoProject& project, const ExportSettings& settings)
{
    const auto size = RenderGraph::outputSize(project, settings.height);
    return static_cast<double>(size.width * size.height) * static_cast<double>(settings.fps)
        * ExportService::exportedDuration(project, settings) / 1e6;
}

double videoBits(const VideoProject& project, const ExportSettings& settings)
{
    return static_cast<double>(
               RenderGraph::videoBitRate(settings.quality, RenderGraph::outputSize(project, settings.height), settings.fps))
        * ExportService::exportedDuration(project, settings);
}

bool isMeasured(const ExportSettings& settings)
{
    return settings.format == ExportFormat::mp4 && !settings.maxBytes;
}

} // namespace

std::span<const ExportPreset> ExportPreset::all()
{
    return presets;
}

const ExportPreset* ExportPreset::find(std::string_view id)
{
    const auto found = std::ranges::find(presets, id, &ExportPreset::id);
    return found == presets.end() ? nullptr : &*found;
}

ExportSettings ExportPreset::settings(const VideoProject& project, const ExportSettings& chosen) const
{
    ExportSettings settings = chosen;
    settings.fps = 30;
    settings.quality = ExportQuality::balanced;
    if (id == "moodle") {
        settings.height = 720;
        settings.quality = ExportQuality::small;
    } else if (id == "youtube") {
        settings.height = std::max<std::int64_t>(project.height, 2);
        settings.fps = project.fps > 30 ? 60 : 30;
        settings.quality = ExportQuality::high;
    } else if (id == "correo") {
        settings.height = 1080;
        settings.maxBytes = 20'000'000;
    } else if (id == "audio") {
        settings.format = ExportFormat::audio;
    } else if (id == "gif") {
        settings.format = ExportFormat::gif;
        settings.height = 480;
        settings.fps = 12;
    } else if (id == "webm") {
        settings.format = ExportFormat::webm;
        settings.height = 1080;
    }
    return settings;
}

std::string ExportPace::text() const
{
    return std::format("{} {}", secondsPerMegapixel, bitShare);
}

ExportPace ExportPace::parse(std::string_view text)
{
    const std::string copy(text);
    char* end = nullptr;
    ExportPace pace;
    pace.secondsPerMegapixel = std::strtod(copy.c_str(), &end);
    pace.bitShare = std::strtod(end, nullptr);
    const auto isUsable = [](double value) { return std::isfinite(value) && value > 0; };
    return isUsable(pace.secondsPerMegapixel) && isUsable(pace.bitShare) ? pace : ExportPace();
}

void ExportPace::add(const VideoProject& project, const ExportSettings& settings, double seconds, std::uintmax_t bytes)
{
    constexpr double minWork = 1; // Seconds; shorter exports are not representative.
    const double pixels = megapixels(project, settings);
    const double bits = videoBits(project, settings);
    if (!isMeasured(settings) || seconds < minWork || !(pixels > 0) || !(bits > 0))
        return;
    const auto follow = [](double& value, double measured) { value = value > 0 ? (value + measured) / 2 : measured; };
    follow(secondsPerMegapixel, seconds / pixels);
    const double film = static_cast<double>(bytes) * 8 - audioBits * ExportService::exportedDuration(project, settings);
    follow(bitShare, std::clamp(film / bits, 0.01, 1.2));
}

ExportEstimate ExportEstimate::of(const VideoProject& project, const ExportSettings& settings, const ExportPace& pace)
{
    // Defaults without measurements: x264 on an ordinary core, and a screen lesson.
    constexpr double megapixelsPerCoreAndSecond = 35;
    constexpr double usualBitShare = 0.25;
    constexpr double webmWork = 3; // VP9 takes this many times as long as H.264.
    constexpr double audioSpeed = 40; // Seconds of audio mixed and encoded per second.
    const double work = pace.secondsPerMegapixel > 0 ? pace.secondsPerMegapixel
                                                     : 1 / (megapixelsPerCoreAndSecond * std::max(availableCores(), 1));
    const double share = pace.bitShare > 0 ? pace.bitShare : usualBitShare;
    ExportEstimate estimate{.duration = ExportService::exportedDuration(project, settings)};
    const double pixels = megapixels(project, settings);
    const double audio = audioBits * estimate.duration;
    switch (settings.format) {
    case ExportFormat::mp4:
    case ExportFormat::webm:
        estimate.seconds = pixels * work * (settings.format == ExportFormat::webm ? webmWork : 1);
        estimate.bytes = (videoBits(project, settings) * share + audio) / 8;
        break;
    case ExportFormat::audio:
        estimate.seconds = estimate.duration / audioSpeed;
        estimate.bytes = audio / 8;
        break;
    case ExportFormat::gif:
        estimate.seconds = pixels * work * 2;
        estimate.bytes = pixels * 1e6 * gifBitsPerPixel / 8;
        break;
    }
    if (settings.maxBytes)
        estimate.bytes = std::min(estimate.bytes, static_cast<double>(*settings.maxBytes));
    return estimate;
}

std::string portableFileName(std::string_view title)
{
    constexpr std::size_t maxBytes = 120;
    std::string name;
    for (const char c : title) {
        const bool isControl = static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
        name += isControl || std::string_view("\\/:*?\"<>|").contains(c) ? '-' : c;
    }
    if (name.size() > maxBytes) {
        std::size_t end = maxBytes;
        while (end > 0 && (static_cast<unsigned char>(name[end]) & 0xC0U) == 0x80) // Not inside a character.
            --end;
        name.resize(end);
    }
    const auto isTrimmed = [](char c) { return c == ' ' || c == '.'; };
    while (!name.empty() && isTrimmed(name.back()))
        name.pop_back();
    while (!name.empty() && isTrimmed(name.front()))
        name.erase(0, 1);
    std::string upper = name.substr(0, name.find('.'));
    std::ranges::transform(upper, upper.begin(), [](char c) { return c >= 'a' && c <= 'z' ? char(c - 32) : c; });
    constexpr std::array<std::string_view, 4> devices{"CON", "PRN", "AUX", "NUL"};
    const bool isPort =
        upper.size() == 4 && (upper.starts_with("COM") || upper.starts_with("LPT")) && upper[3] >= '0' && upper[3] <= '9';
    if (std::ranges::contains(devices, upper) || isPort)
        name.insert(0, "_");
    return name.empty() ? "Vídeo" : name;
}

} // namespace orvo
