#include "OrvoVideo/capture/screen/CaptureSources.h"

#include "OrvoVideo/capture/screen/X11Frame.h"
#include "OrvoVideo/capture/screen/X11Target.h"

#include <algorithm>
#include <format>
#include <libyuv.h>

namespace orvo {

namespace CaptureSources {

namespace {

constexpr int minWidth = 80;
constexpr int minHeight = 60;

} // namespace

std::vector<CaptureSource> displays()
{
    const X11Connection connection;
    std::vector<CaptureSource> sources;
    for (const auto& monitor : connection.monitors()) {
        sources.push_back({.id = std::format("d{}", monitor.id),
            .label = std::format("Pantalla {} · {}×{}", sources.size() + 1, monitor.rect.width, monitor.rect.height),
            .displayID = monitor.id,
            .rect = monitor.rect.rect()});
    }
    return sources;
}

std::vector<CaptureSource> windows(pid_t own)
{
    const X11Connection connection;
    std::vector<CaptureSource> sources;
    for (const auto& window : connection.windows()) {
        if (window.process == static_cast<std::uint32_t>(own) || window.title.empty() || window.rect.width <= minWidth
            || window.rect.height <= minHeight)
            continue;
        sources.push_back({.id = std::format("w{}", window.id),
            .label = std::format("{} — {}", window.application.empty() ? "App" : window.application, window.title),
            .windowID = window.id,
            .rect = window.rect.rect()});
    }
    return sources;
}

std::optional<SourceFrame> frame(const CaptureSource& source, FrameSize maxSize)
{
    X11Connection connection;
    const X11Target target(connection, source);
    X11Frame camera(connection);
    const auto view = target.view();
    if (!view)
        return std::nullopt;
    const auto pixels = camera.take(view->drawable, view->visible);
    if (!pixels)
        return std::nullopt;
    const double factor = std::min(
        {1.0, static_cast<double>(maxSize.width) / pixels->width, static_cast<double>(maxSize.height) / pixels->height});
    SourceFrame result;
    result.size = {.width = std::max(static_cast<int>(factor * pixels->width), 1),
        .height = std::max(static_cast<int>(factor * pixels->height), 1)};
    const auto count = static_cast<std::size_t>(result.size.width) * static_cast<std::size_t>(result.size.height);
    std::vector<std::uint8_t> scaled(4 * count);
    libyuv::ARGBScale(pixels->data, pixels->stride(), pixels->width, pixels->height, scaled.data(), 4 * result.size.width,
        result.size.width, result.size.height, libyuv::kFilterBox);
    result.pixels.resize(3 * count);
    libyuv::ARGBToRAW(scaled.data(), 4 * result.size.width, result.pixels.data(), 3 * result.size.width, result.size.width,
        result.size.height);
    return result;
}

} // namespace CaptureSources

} // namespace orvo
