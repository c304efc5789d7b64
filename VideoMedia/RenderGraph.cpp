#include "VideoMedia/RenderGraph.h"

#include "VideoCore/Timeline.h"
#include "VideoMedia/NumberText.h"
#include "VideoMedia/ZoomExpression.h"

#include <algorithm>
#include <cmath>
#include <format>
#include <iterator>
#include <utility>

namespace orvo::RenderGraph {

namespace {

constexpr std::size_t mostBranches = 8; ///< Into which a stream is split at once.
constexpr double largestFadeShare = 3; ///< A fade takes at most this part of its stretch.
constexpr double shortestTime = 1e-4; ///< Seconds: what is shorter would be written in a form that filters do not read.

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

/// ",fade=…" in and out over `fade` seconds at the ends of a stretch of `length` seconds; nothing for one that cannot
/// be seen.
std::string fades(std::string_view filter, double fade, double length)
{
    if (!(fade >= shortestTime))
        return {};
    const std::string amount = numberText(fade);
    return std::format(",{0}=t=in:d={1},{0}=t=out:st={2}:d={1}", filter, amount, numberText(length - fade));
}

/// The fades of a kept stretch, in seconds.
struct Fades {
    double picture = 0; ///< At both ends.
    double soundIn = 0;
    double soundOut = 0;
};

/// Sound that is cut without a fade gets a short ramp, so that no cut clicks.
Fades fadesOf(const VideoProject& project, const TimeSpan& span)
{
    constexpr double shortestRamp = 0.01;
    const double longest = std::max(project.edit.fade, 0.0);
    const double length = span.end - span.start;
    const auto within = [&](double fade) { return length < 0 ? fade : std::min(length / largestFadeShare, fade); };
    const double ramp = within(std::max(longest, shortestRamp));
    const double frame = project.fps > 0 ? 1 / static_cast<double>(project.fps) : 0.1;
    return {.picture = within(longest),
        .soundIn = span.start > 0 ? ramp : within(longest),
        .soundOut = span.end < project.duration - frame ? ramp : within(longest)};
}

/// ",afade=…" in and out at the ends of a stretch of `length` seconds.
std::string soundFades(const Fades& fades, double length)
{
    std::string result;
    if (fades.soundIn >= shortestTime)
        result += std::format(",afade=t=in:d={}", numberText(fades.soundIn));
    if (fades.soundOut >= shortestTime)
        result += std::format(",afade=t=out:st={}:d={}", numberText(length - fades.soundOut), numberText(fades.soundOut));
    return result;
}

/// The kept stretches on the frame grid of the output.
///
/// Picture can only be cut between frames. Cutting the sound at the same places keeps the two together; choosing them so
/// that each joint falls on the output frame nearest to its exact time keeps the whole as long as it should be, however many
/// cuts there are. A stretch that is already on the grid stays as it is.
std::vector<TimeSpan> frameAligned(std::span<const TimeSpan> kept, std::int64_t fps)
{
    const auto rate = static_cast<double>(fps);
    const auto frameAt = [&](double time) { return truncated(std::round(time * rate)); };
    const auto timeOf = [&](std::int64_t frame, double exact) {
        const double time = static_cast<double>(frame) / rate;
        return std::abs(time - exact) < 1e-6 && exact >= shortestTime ? exact : time;
    };
    std::vector<TimeSpan> result;
    double exactLength = 0;
    std::int64_t length = 0; // Output frames so far.
    std::int64_t last = 0; // The source frame at which the previous stretch ends.
    for (const auto& span : kept) {
        exactLength += span.duration();
        const std::int64_t count = frameAt(exactLength) - length;
        if (count <= 0)
            continue;
        const std::int64_t first = std::max(frameAt(span.start), last);
        last = first + count;
        length += count;
        result.push_back({timeOf(first, span.start), timeOf(last, span.end)});
    }
    if (result.empty() && !kept.empty())
        result.push_back({kept.front().start, kept.front().start + 1 / rate});
    return result;
}

bool isMixed(const Input& input)
{
    return input.hasAudio && input.track.volume > 0 && input.track.kind != TrackKind::camera;
}

/// Stretches of `spans` with a margin for rounding around each; those that meet are one.
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

/// The expression that is true within sorted stretches. It halves them at each step: hundreds are asked for every frame.
std::string within(std::span<const TimeSpan> stretches)
{
    if (stretches.size() == 1)
        return std::format("between(t,{},{})", numberText(stretches.front().start), numberText(stretches.front().end));
    const auto middle = stretches.size() / 2;
    return std::format("if(lt(t,{}),{},{})", numberText(stretches[middle].start), within(stretches.first(middle)),
        within(stretches.subspan(middle)));
}

/// Builds the picture graph chain by chain; `current()` is the label of the picture so far.
class PictureGraph {
public:
    PictureGraph(const VideoProject& project, std::span<const Input> inputs, const PictureSettings& settings)
        : m_project(project)
        , m_inputs(inputs)
        , m_settings(settings)
        , m_width(static_cast<double>(settings.size.width))
        , m_height(static_cast<double>(settings.size.height))
        , m_spans(frameAligned(Timeline::kept(project.duration, project.edit.cuts), settings.fps))
    {
    }

    std::string text()
    {
        const auto zooms = zoomEvents();
        addClips();
        // Zooms count frames: those must not be missing before them.
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

    /// Drops the frames that no kept span shows, which would be drawn for nothing.
    void dropCutFrames()
    {
        constexpr double margin = 1.5; // Frames.
        const auto stretches = widened(m_spans, margin / static_cast<double>(m_settings.fps));
        const bool keepsAll = stretches.empty()
            || (stretches.size() == 1 && stretches[0].start <= 0 && stretches[0].end >= m_project.duration);
        if (!keepsAll)
            step(std::format("select='{}'", within(stretches)), "shown");
    }

    /// Adds a chain from the picture so far to a new label.
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
            // Every clip ends on the frame that is nearest to its exact end: rounded one by one, many of them would drift
            // away from their sound.
            end += length;
            const std::int64_t shown = std::max<std::int64_t>(framesOf(end) - frames, 1);
            frames += shown;
            // A length between two frames would be rounded once more.
            if (std::abs(length * rate - static_cast<double>(shown)) > 1e-3)
                length = static_cast<double>(shown) / rate;
            const double fade = count > 1 ? std::min(std::max(m_project.edit.fade, 0.0), length / largestFadeShare) : 0;
            if (!m_inputs[i].hasVideo) {
                m_chains.add(std::format("color=color=black:size={}x{}:rate={}:duration={},setsar=1{}{}", width, height,
                    m_settings.fps, numberText(length), fades("fade", fade, length), label("source", n)));
                ++n;
                continue;
            }
            m_chains.add(std::format("[{}:v]scale={}:{}:force_original_aspect_ratio=decrease,"
                                     "pad={}:{}:(ow-iw)/2:(oh-ih)/2:color=black,setsar=1,setpts=PTS-STARTPTS,fps={},"
                                     "tpad=stop_mode=clone:stop_duration={},trim=duration={}{}{}",
                i, width, height, width, height, m_settings.fps, numberText(std::max(m_project.duration, 0.0)),
                numberText(length), fades("fade", fade, length), label("source", n)));
            ++n;
        }
        m_current = "base";
        m_chains.add(std::format("{}concat=n={}:v=1:a=0{}", labels("source", count), count, current()));
    }

    /// The size of an image of a width in pixels. Of a narrow one the height that goes with it may come to nothing, which
    /// ffmpeg takes for an error or for the image's own.
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

    /// The filters by which one stream reaches the branches of the kept spans.
    struct Splitting {
        std::string_view split, trim;
        char letter; ///< Of its labels.
    };

    /// Hands a stream to the branches of `spans`, the first of which has the number `first`. `source` is the label, and
    /// what is done to it before.
    ///
    /// Every branch that has not ended is given every frame, and for each of these ffmpeg looks through all filters: a frame
    /// would cost as much as the square of the number of spans. More than a few spans are therefore divided into groups that
    /// get nothing but the frames from their first span to their last. The last group comes first, as the spans do.
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
            addBranches(std::format("{}{}=start={}:end={},", groupLabel(n * size), by.trim, numberText(group.front().start),
                            numberText(group.back().end)),
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
        // The last span comes first: ffmpeg runs filters in the order of their text, so the branches that do not want a
        // frame yet have let go of it when the one that does comes to fade it, and no branch needs copies and a frame store
        // of its own.
        for (std::size_t n = count; n-- > 0;) {
            const double length = spans[n].end - spans[n].start;
            const Fades faded = fadesOf(m_project, spans[n]);
            const double shown = std::max(length, 0.0);
            const std::string start = numberText(spans[n].start);
            const std::string end = numberText(spans[n].end);
            m_chains.add(
                std::format("{}trim=start={}:end={},setpts=PTS-STARTPTS{}{}", count > 1 ? label("vbranch", n) : current(),
                    start, end, fades("fade", faded.picture, shown), label("v", n)));
            m_chains.add(std::format("{}atrim=start={}:end={},asetpts=PTS-STARTPTS{}{}",
                count > 1 ? label("abranch", n) : "[mix]", start, end, soundFades(faded, shown), label("a", n)));
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
    std::vector<TimeSpan> m_spans; ///< What is kept, on the frames of the output.
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

std::int64_t videoBitRate(std::string_view quality, FrameSize size, std::int64_t fps)
{
    const double factor = quality == "small" ? 0.065 : quality == "high" ? 0.18 : 0.11;
    const double pixels = static_cast<double>(size.width) * static_cast<double>(size.height) * static_cast<double>(fps);
    return std::max<std::int64_t>(truncated(factor * pixels), 400'000);
}

int smallestQuantizer(std::string_view quality)
{
    return quality == "small" ? 24 : quality == "high" ? 16 : 20;
}

bool isVisibleVideo(const MediaTrack& track)
{
    return track.kind == TrackKind::screen || track.kind == TrackKind::clip;
}

std::string audioMix(const VideoProject& project, std::span<const Input> inputs, double delay)
{
    const auto& edit = project.edit;
    const std::string duration = numberText(project.duration);
    // The normaliser can come up to a tenth of a second short of the end, and leaves a gap in the times there.
    const std::string punctual = std::format(
        ",asetpts=N/SR/TB,apad,atrim=start={}:duration={},asetpts=PTS-STARTPTS[mix]", numberText(delay), duration);
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
    const auto spans = keptSpans(project, fps);
    Chains chains;
    chains.add(std::format("[0:a]asplit={}{}", spans.size(), labels("abranch", spans.size())));
    std::string joined;
    for (std::size_t n = 0; n < spans.size(); ++n) {
        const auto& span = spans[n].span;
        chains.add(
            std::format("{}atrim=start={}:end={},asetpts=PTS-STARTPTS{}{}", label("abranch", n), numberText(span.start),
                numberText(span.end), soundFades(fadesOf(project, span), std::max(span.duration(), 0.0)), label("a", n)));
        joined += label("a", n);
    }
    chains.add(std::format("{}concat=n={}:v=0:a=1[aout]", joined, spans.size()));
    return chains.text();
}

std::vector<KeptSpan> keptSpans(const VideoProject& project, std::int64_t fps)
{
    std::vector<KeptSpan> result;
    for (const auto& span :
        frameAligned(Timeline::kept(project.duration, project.edit.cuts), std::max<std::int64_t>(fps, 1))) {
        const Fades fades = fadesOf(project, span);
        result.push_back({.span = span, .pictureFade = fades.picture, .soundIn = fades.soundIn, .soundOut = fades.soundOut});
    }
    return result;
}

double clipFade(const VideoProject& project, double length)
{
    if (std::ranges::count_if(project.tracks, isVisibleVideo) < 2)
        return 0;
    return std::min(std::max(project.edit.fade, 0.0), length / largestFadeShare);
}

double openingFade(const VideoProject& project)
{
    const auto spans = Timeline::kept(project.duration, project.edit.cuts);
    return spans.empty() ? 0 : std::clamp(project.edit.fade, 0.0, spans.front().duration() / largestFadeShare);
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
            // The text is unquoted twice, as part of the graph and as an option's value: the value keeps a backslash before
            // the apostrophe, and the quotation is interrupted for the apostrophe itself.
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
