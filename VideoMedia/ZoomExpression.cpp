#include "VideoMedia/ZoomExpression.h"

#include "VideoMedia/NumberText.h"

#include <algorithm>
#include <format>
#include <vector>

namespace orvo {

namespace {

/// Zoom points per chain. ffmpeg limits expressions to a hundred nested levels; each zoom point adds one.
constexpr std::size_t maxDepth = 48;

struct Zoom {
    double start;
    double end;
    double gain; ///< Magnification − 1.
    double x;
    double y;
};

/// The nested expressions of zoom points, the last one outermost. `clock` is the expression of the time.
ZoomExpression chain(std::span<const Zoom> zooms, const std::string& clock)
{
    ZoomExpression result{.zoom = "1", .x = "iw/2", .y = "ih/2"};
    for (const auto& zoom : zooms) {
        const std::string start = numberText(zoom.start);
        const std::string end = numberText(zoom.end);
        const std::string within = std::format("between({},{},{})", clock, start, end);
        const std::string ramp = std::format("min(1,max(0,({0}-{1})/0.25))*min(1,max(0,({2}-{0})/0.25))", clock, start, end);
        result.zoom = std::format("if({},1+{}*{},{})", within, numberText(zoom.gain), ramp, result.zoom);
        result.x = std::format("if({},iw*{},{})", within, numberText(zoom.x), result.x);
        result.y = std::format("if({},ih*{},{})", within, numberText(zoom.y), result.y);
    }
    return result;
}

/// The expression that applies from `start` until the next stretch.
struct Stretch {
    double start;
    ZoomExpression expression;
};

/// Divides a long list into time ranges, each with a chain of the zoom points that can apply in it.
std::vector<Stretch> stretches(std::span<const Zoom> zooms, const std::string& clock)
{
    std::vector<Stretch> result;
    std::vector<Zoom> open; // Zoom points of earlier ranges that reach into the present one.
    for (std::size_t first = 0; first < zooms.size(); first += maxDepth / 2) {
        const auto fresh = zooms.subspan(first, std::min(maxDepth / 2, zooms.size() - first));
        const double start = fresh.front().start;
        // Drops points that end no later than a later point that has already begun, which hides them.
        std::vector<Zoom> reaching;
        for (auto zoom = open.rbegin(); zoom != open.rend(); ++zoom) {
            if (zoom->end >= start && (reaching.empty() || zoom->end > reaching.back().end))
                reaching.push_back(*zoom);
        }
        std::ranges::reverse(reaching);
        if (reaching.size() > maxDepth / 2)
            reaching.erase(reaching.begin(), reaching.end() - static_cast<std::ptrdiff_t>(maxDepth / 2));
        open = reaching;
        open.insert(open.end(), fresh.begin(), fresh.end());
        result.push_back({.start = start, .expression = chain(open, clock)});
    }
    return result;
}

/// Selects a range by bisection on the time.
std::string choose(std::span<const Stretch> parts, std::string ZoomExpression::* field, const std::string& clock)
{
    if (parts.size() == 1)
        return parts.front().expression.*field;
    const auto middle = parts.size() / 2;
    return std::format("if(lt({},{}),{},{})", clock, numberText(parts[middle].start),
        choose(parts.first(middle), field, clock), choose(parts.subspan(middle), field, clock));
}

} // namespace

ZoomExpression ZoomExpression::make(
    std::span<const PointerEvent> events, double duration, std::int64_t fps, std::int64_t first)
{
    const std::string clock = (first == 0 ? "on" : std::format("(on+{})", first)) + "/" + numberText(fps);
    std::vector<Zoom> zooms;
    zooms.reserve(events.size());
    for (const auto& event : events) {
        zooms.push_back({.start = event.time,
            .end = std::min(event.time + event.duration, duration),
            .gain = std::min(std::max(event.scale, 1.0), 4.0) - 1,
            .x = event.x,
            .y = event.y});
    }
    if (zooms.size() <= maxDepth)
        return chain(zooms, clock);
    const auto parts = stretches(zooms, clock);
    return {.zoom = choose(parts, &ZoomExpression::zoom, clock),
        .x = choose(parts, &ZoomExpression::x, clock),
        .y = choose(parts, &ZoomExpression::y, clock)};
}

} // namespace orvo
