#include "VideoMedia/RenderGraph.h"

#include "VideoMedia/Fading.h"
#include "VideoMedia/GraphText.h"
#include "VideoMedia/KeptSpans.h"
#include "VideoMedia/NumberText.h"
#include "VideoMedia/Pieces.h"
#include "VideoMedia/Sharpening.h"
#include "VideoMedia/ZoomExpression.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <format>
#include <iterator>
#include <utility>

namespace orvo::RenderGraph {

namespace {

using GraphText::Chains;
using GraphText::label;
using GraphText::labels;
using GraphText::minTime;

/// ",fade=…" in and out over `fade` seconds at the ends of a span of `length` seconds; empty if it would be invisible.
std::string fades(std::string_view filter, double fade, double length)
{
    if (!(fade >= minTime))
        return {};
    const std::string amount = durationText(fade);
    return std::format(",{0}=t=in:d={1},{0}=t=out:st={2}:d={1}", filter, amount, durationText(length - fade));
}

/// Builds the video graph chain by chain; `current()` is the label of its last output.
class VideoGraph {
public:
    VideoGraph(const VideoProject& project, std::span<const Input> inputs, const VideoSettings& settings)
        : m_project(project)
        , m_inputs(inputs)
        , m_settings(settings)
        , m_width(static_cast<double>(settings.size.width))
        , m_height(static_cast<double>(settings.size.height))
        , m_kept(keptSpans(project, settings.fps))
    {
        for (const auto& kept : m_kept)
            m_spans.push_back(kept.span);
    }

    /// The graph of one piece.
    VideoGraph(const VideoProject& project, std::span<const Input> inputs, const VideoSettings& settings, const Piece& piece)
        : m_project(project)
        , m_inputs(inputs)
        , m_settings(settings)
        , m_piece(&piece)
        , m_width(static_cast<double>(settings.size.width))
        , m_height(static_cast<double>(settings.size.height))
    {
        // Halfway between two frames, where no rounding matters.
        const auto timeBefore = [&](std::int64_t frame) {
            return (static_cast<double>(frame) - 0.5) / static_cast<double>(settings.fps);
        };
        for (const auto& part : piece.parts)
            m_spans.push_back({timeBefore(part.first), timeBefore(part.last)});
    }

    std::string text()
    {
        const auto zooms = zoomEvents();
        const bool zoomed = m_piece ? m_piece->zoomed : !zooms.empty();
        if (m_piece)
            addStretch();
        else
            addClips();
        // Zooms count frames, so no frame may be missing before them.
        if (!zoomed)
            dropCutFrames();
        step(assFilter(m_settings.annotations), "annotated");
        addImages();
        if (zoomed) {
            addZooms(zooms);
            dropCutFrames();
        }
        addCamera();
        if (m_project.edit.sharpen)
            sharpen();
        if (m_piece)
            addFades();
        else
            addKeptSpans();
        return m_chains.text();
    }

private:
    std::string current() const { return "[" + m_current + "]"; }

    /// Drops frames that no kept span shows before the costly filters. In a whole film, a few beside the spans remain.
    void dropCutFrames()
    {
        const double margin = m_piece ? 0 : 1.5; // Frames.
        const auto stretches = GraphText::widened(m_spans, margin / static_cast<double>(m_settings.fps));
        const bool keepsAll = stretches.empty()
            || (stretches.size() == 1 && (m_piece || (stretches[0].start <= 0 && stretches[0].end >= m_project.duration)));
        if (!keepsAll)
            step(std::format("select='{}'", GraphText::within("t", stretches)), "shown");
    }

    /// Adds a chain from the last output to a new label.
    void step(std::string_view filters, std::string name)
    {
        m_chains.add(std::format("{}{}[{}]", current(), filters, name));
        m_current = std::move(name);
    }

    void sharpen() { step(m_settings.quickSharpening ? Sharpening::quickFilter : Sharpening::filter, "sharp"); }

    /// The filters that convert the frames of an input to the size and rate of the output. `start` is the expression of its
    /// first timestamp.
    std::string fitted(std::size_t input, const std::string& start) const
    {
        const auto width = m_settings.size.width;
        const auto height = m_settings.size.height;
        // Padding copies every frame that the decoder still needs, even if there is nothing to pad.
        const bool isPadded = !m_piece || !m_inputs[input].fillsFrame;
        return std::format("[{}:v]scale={}:{}:force_original_aspect_ratio=decrease,{}setsar=1,setpts=PTS-{},fps={},"
                           "tpad=stop_mode=clone:stop_duration={}",
            input, width, height, isPadded ? std::format("pad={}:{}:(ow-iw)/2:(oh-ih)/2:color=black,", width, height) : "",
            start, m_settings.fps, durationText(std::max(m_project.duration, 0.0)));
    }

    /// Adds the frames of a piece, at their times in the recording.
    void addStretch()
    {
        const auto clip = std::ranges::find_if(m_inputs, [](const Input& input) { return isVisibleVideo(input.track); });
        const auto input = static_cast<std::size_t>(clip - m_inputs.begin());
        m_chains.add(std::format("{},trim=start_pts={}:end_pts={}{}", fitted(input, numberText(clip->firstTimestamp)),
            m_piece->first(), m_piece->last(), label("source", 0)));
        // In the whole film even a single clip passes through concat, which sets the time base.
        m_current = "base";
        m_chains.add(std::format("{}concat=n=1:v=1:a=0{}", label("source", 0), current()));
    }

    void addClips()
    {
        const auto count = static_cast<std::size_t>(
            std::ranges::count_if(m_inputs, [](const Input& input) { return isVisibleVideo(input.track); }));
        const std::string width = numberText(m_settings.size.width);
        const std::string height = numberText(m_settings.size.height);
        const auto rate = static_cast<double>(m_settings.fps);
        const auto framesOf = [&](double seconds) { return truncated(std::round(seconds * rate)); };
        double end = 0; // Seconds.
        std::int64_t frames = 0; // Total of the clips so far.
        std::size_t n = 0;
        for (std::size_t i = 0; i < m_inputs.size(); ++i) {
            const auto& track = m_inputs[i].track;
            if (!isVisibleVideo(track))
                continue;
            double length = track.duration > 0 ? track.duration : m_project.duration;
            // Every clip ends on the frame nearest to its exact end. Rounding each length would make many clips drift
            // away from their audio.
            end += length;
            const std::int64_t shown = std::max<std::int64_t>(framesOf(end) - frames, 1);
            frames += shown;
            // The filters would round a length between two frames again.
            if (std::abs(length * rate - static_cast<double>(shown)) > 1e-3)
                length = static_cast<double>(shown) / rate;
            const double fade = count > 1 ? clipFade(m_project, length) : 0;
            if (!m_inputs[i].hasVideo) {
                m_chains.add(std::format("color=color=black:size={}x{}:rate={}:duration={},setsar=1{}{}", width, height,
                    m_settings.fps, durationText(length), fades("fade", fade, length), label("source", n)));
                ++n;
                continue;
            }
            m_chains.add(std::format("{},trim=duration={}{}{}", fitted(i, "STARTPTS"), durationText(length),
                fades("fade", fade, length), label("source", n)));
            ++n;
        }
        m_current = "base";
        m_chains.add(std::format("{}concat=n={}:v=1:a=0{}", labels("source", count), count, current()));
    }

    /// The size of an image with a width in pixels. The height of a narrow image may round to 0, which ffmpeg rejects or
    /// replaces by the height of the file.
    static std::string imageSize(std::int64_t width)
    {
        constexpr std::int64_t narrow = 16;
        if (width >= narrow)
            return std::format("{}:-2", width);
        return std::format("{0}:h='max(2,2*round({0}*ih/iw/2))'", std::max<std::int64_t>(width, 2));
    }

    void addImages()
    {
        std::size_t n = 0;
        for (const auto& overlay : m_project.edit.overlays) {
            if (overlay.kind != Overlay::Kind::image)
                continue;
            const std::size_t before =
                m_piece ? m_inputs.size() - (m_settings.camera.empty() ? 0 : 1) : m_inputs.size() + 1; // With the mix.
            const auto width = truncated(overlay.width * m_width);
            m_chains.add(std::format("[{}:v]scale={}{}", before + n, imageSize(width), label("image", n)));
            m_chains.add(std::format("{}{}overlay=x={}:y={}:enable='between(t,{},{})':shortest=0{}", current(),
                label("image", n), numberText(overlay.x * m_width), numberText(overlay.y * m_height),
                numberText(overlay.start), numberText(overlay.end), label("over", n)));
            m_current = std::format("over{}", n);
            ++n;
        }
    }

    std::vector<PointerEvent> zoomEvents() const
    {
        std::vector<PointerEvent> zooms;
        std::ranges::copy_if(m_project.edit.events, std::back_inserter(zooms),
            [](const PointerEvent& event) { return event.kind == PointerKind::zoom; });
        std::ranges::stable_sort(zooms, {}, &PointerEvent::time);
        return zooms;
    }

    void addZooms(std::span<const PointerEvent> zooms)
    {
        const std::int64_t first = m_piece ? m_piece->first() : 0;
        const auto expression = ZoomExpression::make(zooms, m_project.duration, m_settings.fps, first);
        // The filter gives its first frame the time 0.
        step(
            std::format("zoompan=z='{}':x='max(0,min(iw-iw/zoom,({})-iw/zoom/2))':y='max(0,min(ih-ih/zoom,({})-ih/zoom/2))':"
                        "d=1:s={}x{}:fps={}{}",
                expression.zoom, expression.x, expression.y, m_settings.size.width, m_settings.size.height, m_settings.fps,
                first > 0 ? std::format(",setpts=PTS+{}", first) : ""),
            "zoomed");
    }

    void addCamera()
    {
        const auto camera =
            std::ranges::find(m_inputs, TrackKind::camera, [](const Input& input) { return input.track.kind; });
        const auto& edit = m_project.edit;
        if (camera == m_inputs.end() || !edit.cameraVisible)
            return;
        const std::int64_t width = std::max<std::int64_t>(truncated(edit.cameraWidth * m_width) / 2 * 2, 2);
        const std::string source =
            m_settings.camera.empty() ? std::format("[{}:v]", camera - m_inputs.begin()) : m_settings.camera + ",";
        m_chains.add(std::format("{}setpts=PTS-{},scale={}:-2[webcam]", source,
            m_piece ? numberText(camera->firstTimestamp) : "STARTPTS", width));
        step(std::format("[webcam]overlay=x={}:y={}:eof_action=pass:repeatlast=0", numberText(edit.cameraX * m_width),
                 numberText(edit.cameraY * m_height)),
            "withcam");
    }

    void addKeptSpans()
    {
        const auto& spans = m_spans;
        const std::size_t count = spans.size();
        m_chains.add(std::format("[{}:a]anull[mix]", m_inputs.size()));
        if (count > 1) {
            GraphText::addBranches(m_chains, current(), GraphText::videoBranches, spans);
            GraphText::addBranches(m_chains, "[mix]", GraphText::audioBranches, spans);
        }
        // The last span comes first: ffmpeg runs filters in the order of the text, so other branches have released a frame
        // before the branch that shows it fades it. No branch needs copies or a frame pool of its own.
        for (std::size_t n = count; n-- > 0;) {
            const double length = spans[n].end - spans[n].start;
            const double shown = std::max(length, 0.0);
            const std::string start = durationText(spans[n].start);
            const std::string end = durationText(spans[n].end);
            m_chains.add(
                std::format("{}trim=start={}:end={},setpts=PTS-STARTPTS{}{}", count > 1 ? label("vbranch", n) : current(),
                    start, end, fades("fade", m_kept[n].videoFade, shown), label("v", n)));
            m_chains.add(
                std::format("{}atrim=start={}:end={},asetpts=PTS-STARTPTS{}{}", count > 1 ? label("abranch", n) : "[mix]",
                    start, end, GraphText::audioFades(m_kept[n], shown), label("a", n)));
        }
        std::string joined;
        for (std::size_t n = 0; n < count; ++n)
            joined += label("v", n) + label("a", n);
        std::string last = m_settings.subtitles.empty() ? "" : assFilter(m_settings.subtitles);
        if (!m_settings.upload.empty())
            last += (last.empty() ? "" : ",") + m_settings.upload;
        const std::string_view video = last.empty() ? "[vout]" : "[vjoined]";
        m_chains.add(std::format("{}concat=n={}:v=1:a=1{}[aout]", joined, count, video));
        if (!last.empty())
            m_chains.add(std::format("{}{}[vout]", video, last));
    }

    /// The remaining frames without the gaps of the cuts, darkened at the ends of the kept spans.
    void addFades()
    {
        const std::string fades = fading(*m_piece, m_settings.fps);
        m_chains.add(std::format(
            "{}settb=1/{},setpts=N{}{}[vout]", current(), m_settings.fps, fades.empty() ? "" : ",format=yuv420p,", fades));
    }

    /// Burns an Advanced SubStation Alpha document in.
    static std::string assFilter(const std::filesystem::path& document)
    {
        return std::format("ass=filename='{}'", escapedPath(document.string()));
    }

    const VideoProject& m_project;
    std::span<const Input> m_inputs;
    const VideoSettings& m_settings;
    const Piece* m_piece = nullptr; ///< Null for the whole film.
    double m_width;
    double m_height;
    std::vector<KeptSpan> m_kept;
    std::vector<TimeSpan> m_spans; ///< The spans of `m_kept`, or of the parts of the piece.
    Chains m_chains;
    std::string m_current;
};

} // namespace

FrameSize outputSize(const VideoProject& project, std::int64_t height)
{
    const double scale =
        std::min(static_cast<double>(height) / static_cast<double>(std::max<std::int64_t>(project.height, 2)), 1.0);
    const auto side = [&](std::int64_t pixels) {
        return std::max<std::int64_t>(truncated(static_cast<double>(pixels) * scale) / 2 * 2, 2);
    };
    return {.width = side(project.width), .height = side(project.height)};
}

std::int64_t videoBitRate(ExportQuality quality, FrameSize size, std::int64_t fps)
{
    constexpr std::array factors{0.065, 0.11, 0.18};
    const double factor = factors[static_cast<std::size_t>(quality)];
    const double pixels = static_cast<double>(size.width) * static_cast<double>(size.height) * static_cast<double>(fps);
    return std::max<std::int64_t>(truncated(factor * pixels), 400'000);
}

int minQuantizer(ExportQuality quality)
{
    constexpr std::array quantizers{24, 20, 16};
    return quantizers[static_cast<std::size_t>(quality)];
}

bool isVisibleVideo(const MediaTrack& track)
{
    return track.kind == TrackKind::screen || track.kind == TrackKind::clip;
}

std::string video(const VideoProject& project, std::span<const Input> inputs, const VideoSettings& settings)
{
    return VideoGraph(project, inputs, settings).text();
}

std::string pieceVideo(
    const VideoProject& project, std::span<const Input> inputs, const VideoSettings& settings, const Piece& piece)
{
    return VideoGraph(project, inputs, settings, piece).text();
}

std::string escapedPath(std::string_view path)
{
    std::string result;
    for (const char c : path) {
        switch (c) {
        case '\\':
            result += "\\\\";
            break;
        case '\'':
            // The text is unquoted twice, as part of the graph and as the value of an option: the value keeps a
            // backslash before the apostrophe, and the quotation is interrupted for the apostrophe itself.
            result += "\\'\\''";
            break;
        case ':':
            result += "\\:";
            break;
        default:
            result += c;
        }
    }
    return result;
}

} // namespace orvo::RenderGraph
