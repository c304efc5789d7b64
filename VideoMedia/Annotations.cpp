#include "VideoMedia/AssText.h"
#include "VideoMedia/ExportService.h"
#include "VideoMedia/NumberText.h"

#include <algorithm>
#include <cmath>
#include <format>
#include <iterator>
#include <string_view>
#include <utility>
#include <vector>

namespace orvo::ExportService {

namespace {

constexpr double lastPointerHold = 0.15; ///< How long the last pointer position stays, in seconds.
constexpr double haloLength = 0.5; ///< Seconds.

/// Layers of the marks, bottom first.
enum class Layer : int { highlight = 0, pointer = 1, halo = 2, text = 3 };

class Document {
public:
    Document(const VideoProject& project, std::int64_t width, std::int64_t height)
        : m_width(width)
        , m_height(height)
        , m_duration(project.duration)
    {
        const std::int64_t fontSize = height > 503 ? height / 28 : 18;
        m_text.reserve(1024 + project.edit.events.size() * 360);
        std::format_to(std::back_inserter(m_text),
            "[Script Info]\nScriptType: v4.00+\nPlayResX: {}\nPlayResY: {}\n"
            "[V4+ Styles]\n"
            "Format: Name, Fontname, Fontsize, PrimaryColour, SecondaryColour, OutlineColour, BackColour, Bold, Italic, "
            "Underline, StrikeOut, ScaleX, ScaleY, Spacing, Angle, BorderStyle, Outline, Shadow, Alignment, MarginL, "
            "MarginR, "
            "MarginV, Encoding\n"
            "Style: Default,Helvetica,{},&H00FFFFFF,&H00FFFFFF,&H00202020,&H80000000,-1,0,0,0,100,100,0,0,1,1,0,7,0,0,0,1\n"
            "[Events]\n"
            "Format: Layer, Start, End, Style, Name, MarginL, MarginR, MarginV, Effect, Text\n",
            width, height, fontSize);
    }

    /// "\pos(X,Y)" for a position in fractions of the frame.
    std::string position(double x, double y) const
    {
        return std::format(
            "\\pos({},{})", truncated(x * static_cast<double>(m_width)), truncated(y * static_cast<double>(m_height)));
    }

    /// Adds an event line unless it would end before it begins. Events end with the recording.
    void add(Layer layer, double start, double end, std::string_view place, std::string_view style, std::string_view text)
    {
        end = std::min(end, m_duration);
        if (!(start < end))
            return;
        const auto out = std::back_inserter(m_text);
        std::format_to(out, "Dialogue: {},", static_cast<int>(layer));
        m_text += AssText::stamp(start);
        m_text += ',';
        m_text += AssText::stamp(end);
        std::format_to(out, ",Default,,0,0,0,,{{{}{}}}{}\n", place, style, text);
    }

    std::string take() { return std::move(m_text); }

private:
    std::int64_t m_width;
    std::int64_t m_height;
    double m_duration;
    std::string m_text;
};

void addPointer(Document& document, const EditState& edit)
{
    std::vector<const PointerEvent*> events;
    events.reserve(edit.events.size());
    for (const auto& event : edit.events) {
        if (event.kind != PointerKind::zoom)
            events.push_back(&event);
    }
    std::ranges::stable_sort(events, {}, &PointerEvent::time);
    for (std::size_t i = 0; i < events.size(); ++i) {
        const double start = events[i]->time;
        const double end = i + 1 < events.size() ? events[i + 1]->time : start + lastPointerHold;
        const std::string place = document.position(events[i]->x, events[i]->y);
        if (edit.pointerHighlight) {
            document.add(Layer::highlight, start, end, place, R"(\p1\bord0\1c&H00D7FF&\alpha&H90&)",
                "m -16 0 b -16 -22 16 -22 16 0 b 16 22 -16 22 -16 0");
        }
        document.add(Layer::pointer, start, end, place, R"(\p1\1c&HFFFFFF&\3c&H181818&\bord1)",
            "m 0 0 l 0 20 5 15 10 25 14 23 9 13 17 13 0 0");
    }
}

void addHalos(Document& document, const EditState& edit)
{
    if (!edit.clickHalo)
        return;
    for (const auto& event : edit.events) {
        if (event.kind != PointerKind::click)
            continue;
        document.add(Layer::halo, event.time, event.time + haloLength, document.position(event.x, event.y),
            R"(\p1\bord2\1a&HFF&\3c&H00D7FF&\t(0,500,\fscx180\fscy180\3a&HFF&))",
            "m -20 0 b -20 -27 20 -27 20 0 b 20 27 -20 27 -20 0");
    }
}

void addTexts(Document& document, const EditState& edit)
{
    for (const auto& overlay : edit.overlays) {
        if (overlay.kind == Overlay::Kind::text) {
            document.add(Layer::text, overlay.start, overlay.end, document.position(overlay.x, overlay.y), "",
                AssText::escaped(overlay.content));
        }
    }
}

} // namespace

std::string annotations(const VideoProject& project, std::int64_t width, std::int64_t height)
{
    Document document(project, width, height);
    addPointer(document, project.edit);
    addHalos(document, project.edit);
    addTexts(document, project.edit);
    return document.take();
}

} // namespace orvo::ExportService
