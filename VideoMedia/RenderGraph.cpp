#include "VideoMedia/RenderGraph.h"

#include "VideoMedia/KeptSpans.h"
#include "VideoMedia/NumberText.h"
#include "VideoMedia/ZoomExpression.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <format>
#include <iterator>
#include <utility>

namespace orvo::RenderGraph {

namespace {

constexpr std::size_t mostBranches = 8; ///< Outputs of one split.
constexpr double shortestTime = 1e-4; ///< Seconds: a shorter fade is left out.

/// The chains of a graph file.
class Chains {
public:
    void add(std::string chain) { m_chains.push_back(std::move(chain)); }

    std::string text() const
    {
        std::string result;
        for (const auto& chain : m_chains) {
            if (!result.empty())
                result += ";\n";
            result += chain;
        }
        return result;
    }

private:
    std::vector<std::string> m_chains;
};

std::string label(std::string_view name, std::size_t number)
{
    return std::format("[{}{}]", name, number);
}

std::string labels(std::string_view name, std::size_t count, std::size_t first = 0)
{
    std::string result;
    for (std::size_t i = first; i < first + count; ++i)
        result += label(name, i);
    return result;
}

/// ",fade=…" in and out over `fade` seconds at the ends of a span of `length` seconds; empty if it would be invisible.
std::string fades(std::string_view filter, double fade, double length)
{
    if (!(fade >= shortestTime))
        return {};
    const std::string amount = durationText(fade);
    return std::format(",{0}=t=in:d={1},{0}=t=out:st={2}:d={1}", filter, amount, durationText(length - fade));
}

/// ",afade=…" in and out at the ends of a span of `length` seconds.
std::string soundFades(const KeptSpan& kept, double length)
{
    std::string result;
    if (kept.soundIn >= shortestTime)
        result += std::format(",afade=t=in:d={}", durationText(kept.soundIn));
    if (kept.soundOut >= shortestTime)
        result += std::format(",afade=t=out:st={}:d={}", durationText(length - kept.soundOut), durationText(kept.soundOut));
    return result;
}

bool isMixed(const Input& input)
{
    return input.hasAudio && input.track.volume > 0 && input.track.kind != TrackKind::camera;
}

/// The spans with a margin for rounding around each; overlapping ones are merged.
std::vector<TimeSpan> widened(std::span<const TimeSpan> spans, double margin)
{
    std::vector<TimeSpan> result;
    for (const auto& span : spans) {
        const TimeSpan wide{std::max(span.start - margin, 0.0), span.end + margin};
        if (!result.empty() && wide.start <= result.back().end)
            result.back().end = wide.end;
        else
            result.push_back(wide);
    }
    return result;
}

/// An expression that is true within sorted spans. It bisects them: with hundreds, a linear test for every frame would
/// be slow.
std::string within(std::span<const TimeSpan> stretches)
{
    if (stretches.size() == 1)
        return std::format("between(t,{},{})", numberText(stretches.front().start), numberText(stretches.front().end));
    const auto middle = stretches.size() / 2;
    return std::format("if(lt(t,{}),{},{})", numberText(stretches[middle].start), within(stretches.first(middle)),
        within(stretches.subspan(middle)));
}

/// Builds the video graph chain by chain; `current()` is the label of its last output.
class PictureGraph {
public:
    PictureGraph(const VideoProject& project, std::span<const Input> inputs, const PictureSettings& settings)
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

    std::string text()
    {
        const auto zooms = zoomEvents();
        addClips();
        // Zooms count frames: none may be missing before them.
        if (zooms.empty())
            dropCutFrames();
        step(assFilter(m_settings.annotations), "annotated");
        addImages();
        if (!zooms.empty()) {
            addZooms(zooms);
            dropCutFrames();
        }
        addCamera();
        if (m_project.edit.sharpen)
            step("unsharp=5:5:0.35:3:3:0", "sharp");
        addKeptSpans();
        return m_chains.text();
    }

private:
    std::string current() const { return "[" + m_current + "]"; }

    /// Drops frames that no kept span shows before the costly filters.
    void dropCutFrames()
    {
        constexpr double margin = 1.5; // Frames.
        const auto stretches = widened(m_spans, margin / static_cast<double>(m_settings.fps));
        const bool keepsAll = stretches.empty()
            || (stretches.size() == 1 && stretches[0].start <= 0 && stretches[0].end >= m_project.duration);
        if (!keepsAll)
            step(std::format("select='{}'", within(stretches)), "shown");
    }

    /// Adds a chain from the last output to a new label.
    void step(std::string_view filters, std::string name)
    {
        m_chains.add(std::format("{}{}[{}]", current(), filters, name));
        m_current = std::move(name);
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
        std::int64_t frames = 0; // Of the clips so far.
        std::size_t n = 0;
        for (std::size_t i = 0; i < m_inputs.size(); ++i) {
            const auto& track = m_inputs[i].track;
            if (!isVisibleVideo(track))
                continue;
            double length = track.duration > 0 ? track.duration : m_project.duration;
            // Every clip ends on the frame nearest to its exact end: rounded one by one, many of them would drift away
            // from their audio.
            end += length;
            const std::int64_t shown = std::max<std::int64_t>(framesOf(end) - frames, 1);
            frames += shown;
            // A length between two frames would be rounded again.
            if (std::abs(length * rate - static_cast<double>(shown)) > 1e-3)
                length = static_cast<double>(shown) / rate;
            const double fade = count > 1 ? clipFade(m_project, length) : 0;
            if (!m_inputs[i].hasVideo) {
                m_chains.add(std::format("color=color=black:size={}x{}:rate={}:duration={},setsar=1{}{}", width, height,
                    m_settings.fps, durationText(length), fades("fade", fade, length), label("source", n)));
                ++n;
                continue;
            }
            m_chains.add(std::format("[{}:v]scale={}:{}:force_original_aspect_ratio=decrease,"
                                     "pad={}:{}:(ow-iw)/2:(oh-ih)/2:color=black,setsar=1,setpts=PTS-STARTPTS,fps={},"
                                     "tpad=stop_mode=clone:stop_duration={},trim=duration={}{}{}",
                i, width, height, width, height, m_settings.fps, durationText(std::max(m_project.duration, 0.0)),
                durationText(length), fades("fade", fade, length), label("source", n)));
            ++n;
        }
        m_current = "base";
        m_chains.add(std::format("{}concat=n={}:v=1:a=0{}", labels("source", count), count, current()));
    }

    /// The size of an image with a width in pixels. For a narrow one the height may round to 0, which ffmpeg refuses or
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
            const std::size_t input = m_inputs.size() + 1 + n;
            const auto width = truncated(overlay.width * m_width);
            m_chains.add(std::format("[{}:v]scale={}{}", input, imageSize(width), label("image", n)));
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
        const auto expression = ZoomExpression::make(zooms, m_project.duration, m_settings.fps);
        step(
            std::format("zoompan=z='{}':x='max(0,min(iw-iw/zoom,({})-iw/zoom/2))':y='max(0,min(ih-ih/zoom,({})-ih/zoom/2))':"
                        "d=1:s={}x{}:fps={}",
                expression.zoom, expression.x, expression.y, m_settings.size.width, m_settings.size.height, m_settings.fps),
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
        m_chains.add(std::format("[{}:v]setpts=PTS-STARTPTS,scale={}:-2[webcam]", camera - m_inputs.begin(), width));
        step(std::format("[webcam]overlay=x={}:y={}:eof_action=pass:repeatlast=0", numberText(edit.cameraX * m_width),
                 numberText(edit.cameraY * m_height)),
            "withcam");
    }

    /// The filters that route one stream to the branches of the kept spans.
    struct Splitting {
        std::string_view split, trim;
        char letter; ///< Of its labels.
    };

    /// Routes a stream to the branches of `spans`, numbered from `first`. `source` is its label and the filters before
    /// the split.
    ///
    /// Every branch that has not ended receives every frame, and for each of these ffmpeg scans all filters: the cost
    /// per frame would grow with the square of the number of spans. Many spans are therefore divided into groups that
    /// receive only the frames from their first span to their last. The last group comes first, like the spans.
    void addBranches(const std::string& source, const Splitting& by, std::span<const TimeSpan> spans, std::size_t first)
    {
        if (spans.size() <= mostBranches) {
            m_chains.add(std::format("{}{}={}{}", source, by.split, spans.size(),
                labels(std::format("{}branch", by.letter), spans.size(), first)));
            return;
        }
        std::size_t size = mostBranches;
        while (size * mostBranches < spans.size())
            size *= mostBranches;
        const auto groupLabel = [&](std::size_t from) {
            return std::format("[{}branch{}to{}]", by.letter, first + from, first + std::min(from + size, spans.size()) - 1);
        };
        const std::size_t count = (spans.size() + size - 1) / size;
        std::string groups;
        for (std::size_t n = 0; n < count; ++n)
            groups += groupLabel(n * size);
        m_chains.add(std::format("{}{}={}{}", source, by.split, count, groups));
        for (std::size_t n = count; n-- > 0;) {
            const auto group = spans.subspan(n * size, std::min(size, spans.size() - n * size));
            addBranches(std::format("{}{}=start={}:end={},", groupLabel(n * size), by.trim,
                            durationText(group.front().start), durationText(group.back().end)),
                by, group, first + n * size);
        }
    }

    void addKeptSpans()
    {
        const auto& spans = m_spans;
        const std::size_t count = spans.size();
        m_chains.add(std::format("[{}:a]anull[mix]", m_inputs.size()));
        if (count > 1) {
            addBranches(current(), {.split = "split", .trim = "trim", .letter = 'v'}, spans, 0);
            addBranches("[mix]", {.split = "asplit", .trim = "atrim", .letter = 'a'}, spans, 0);
        }
        // The last span comes first: ffmpeg runs filters in the order of the text, so branches that do not want a frame
        // have released it when the one that does comes to fade it. No branch needs copies or a frame pool of its own.
        for (std::size_t n = count; n-- > 0;) {
            const double length = spans[n].end - spans[n].start;
            const double shown = std::max(length, 0.0);
            const std::string start = durationText(spans[n].start);
            const std::string end = durationText(spans[n].end);
            m_chains.add(
                std::format("{}trim=start={}:end={},setpts=PTS-STARTPTS{}{}", count > 1 ? label("vbranch", n) : current(),
                    start, end, fades("fade", m_kept[n].pictureFade, shown), label("v", n)));
            m_chains.add(std::format("{}atrim=start={}:end={},asetpts=PTS-STARTPTS{}{}",
                count > 1 ? label("abranch", n) : "[mix]", start, end, soundFades(m_kept[n], shown), label("a", n)));
        }
        std::string joined;
        for (std::size_t n = 0; n < count; ++n)
            joined += label("v", n) + label("a", n);
        std::string last = m_settings.subtitles.empty() ? "" : assFilter(m_settings.subtitles);
        if (!m_settings.upload.empty())
            last += (last.empty() ? "" : ",") + m_settings.upload;
        const std::string_view picture = last.empty() ? "[vout]" : "[vjoined]";
        m_chains.add(std::format("{}concat=n={}:v=1:a=1{}[aout]", joined, count, picture));
        if (!last.empty())
            m_chains.add(std::format("{}{}[vout]", picture, last));
    }

    /// Burns an Advanced SubStation Alpha document in.
    static std::string assFilter(const std::filesystem::path& document)
    {
        return std::format("ass=filename='{}'", escapedPath(document.string()));
    }

    const VideoProject& m_project;
    std::span<const Input> m_inputs;
    const PictureSettings& m_settings;
    double m_width;
    double m_height;
    std::vector<KeptSpan> m_kept;
    std::vector<TimeSpan> m_spans; ///< Those of `m_kept`.
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

int smallestQuantizer(ExportQuality quality)
{
    constexpr std::array quantizers{24, 20, 16};
    return quantizers[static_cast<std::size_t>(quality)];
}

bool isVisibleVideo(const MediaTrack& track)
{
    return track.kind == TrackKind::screen || track.kind == TrackKind::clip;
}

std::string audioMix(const VideoProject& project, std::span<const Input> inputs, double delay)
{
    const auto& edit = project.edit;
    const std::string duration = durationText(project.duration);
    // The normaliser can end up to a tenth of a second early and leaves a gap in the timestamps there.
    const std::string punctual = std::format(
        ",asetpts=N/SR/TB,apad,atrim=start={}:duration={},asetpts=PTS-STARTPTS[mix]", durationText(delay), duration);
    Chains chains;
    std::size_t count = 0;
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        if (!isMixed(inputs[i]))
            continue;
        const auto& track = inputs[i].track;
        std::string clean;
        if (track.kind == TrackKind::microphone && edit.noiseReduction)
            clean += ",highpass=f=70,afftdn=nf=-30:nr=8";
        if (track.kind == TrackKind::microphone && edit.normalizeVoice)
            clean += ",loudnorm=I=-16:TP=-1.5:LRA=11";
        chains.add(std::format("[{}:a]aresample=48000:async=1:first_pts=0,aformat=sample_fmts=fltp:channel_layouts=stereo,"
                               "asetpts=PTS-STARTPTS,volume={}{},adelay={}:all=1{}",
            i, numberText(track.volume), clean, truncated(std::max(track.start, 0.0) * 1000), label("voice", count)));
        ++count;
    }
    if (count > 0) {
        chains.add(
            std::format("{}amix=inputs={}:duration=longest:normalize=0,alimiter=limit=0.98:level=0,apad,atrim=duration={}{}",
                labels("voice", count), count, duration, punctual));
    } else {
        chains.add(std::format("anullsrc=r=48000:cl=stereo,atrim=duration={}[mix]", duration));
    }
    return chains.text();
}

std::string picture(const VideoProject& project, std::span<const Input> inputs, const PictureSettings& settings)
{
    return PictureGraph(project, inputs, settings).text();
}

std::string sound(const VideoProject& project, std::int64_t fps)
{
    const auto kept = keptSpans(project, fps);
    Chains chains;
    chains.add(std::format("[0:a]asplit={}{}", kept.size(), labels("abranch", kept.size())));
    std::string joined;
    for (std::size_t n = 0; n < kept.size(); ++n) {
        const auto& span = kept[n].span;
        chains.add(
            std::format("{}atrim=start={}:end={},asetpts=PTS-STARTPTS{}{}", label("abranch", n), durationText(span.start),
                durationText(span.end), soundFades(kept[n], std::max(span.duration(), 0.0)), label("a", n)));
        joined += label("a", n);
    }
    chains.add(std::format("{}concat=n={}:v=0:a=1[aout]", joined, kept.size()));
    return chains.text();
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
