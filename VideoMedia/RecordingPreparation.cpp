#include "VideoMedia/RecordingPreparation.h"

#include "VideoCore/Error.h"
#include "VideoCore/FileIO.h"
#include "VideoCore/PointerLog.h"
#include "VideoMedia/Arguments.h"
#include "VideoMedia/FailureReport.h"
#include "VideoMedia/VideoEncoder.h"

#include <algorithm>
#include <format>
#include <ranges>
#include <string_view>
#include <utility>

namespace orvo::RecordingPreparation {

namespace fs = std::filesystem;

namespace {

constexpr std::int64_t videoBitRate = 12'000'000;

/// Whether a browser's track has to be padded or trimmed to begin with the recording.
bool isAligned(const MediaTrack& track)
{
    return track.start != 0 && track.kind != TrackKind::clip && fs::path(track.file).extension() == ".webm";
}

bool isAudio(const MediaTrack& track)
{
    return track.kind == TrackKind::microphone || track.kind == TrackKind::system;
}

/// The new files of a preparation, removed by the destructor unless it succeeded.
class NewFiles {
public:
    NewFiles() = default;
    ~NewFiles()
    {
        std::error_code ignored;
        for (const auto& file : m_files)
            fs::remove(file, ignored);
    }
    NewFiles(const NewFiles&) = delete;
    NewFiles& operator=(const NewFiles&) = delete;

    void add(fs::path file) { m_files.push_back(std::move(file)); }
    void keep() { m_files.clear(); }

private:
    std::vector<fs::path> m_files;
};

class Preparation {
public:
    Preparation(const VideoProject& project, const ProjectStore& store, const MediaProbe& probe, std::stop_token stop)
        : m_project(project)
        , m_store(store)
        , m_probe(probe)
        , m_stop(std::move(stop))
        , m_ffmpeg(usableFfmpeg())
    {
    }

    Prepared run(Which which, const ProgressCallback& progress)
    {
        Prepared prepared;
        if (m_project.edit.events.empty())
            prepared.events = PointerLog::read(m_store.directory(m_project.id));
        double done = 0;
        for (const auto& track : m_project.tracks) {
            if ((which == Which::all && !isPrepared(track)) || needsConversion(track))
                convertOrLose(track, prepared);
            if (progress)
                progress(++done / static_cast<double>(m_project.tracks.size()));
        }
        const auto isKept = [&](const MediaTrack& track) { return !prepared.lost.contains(track.id); };
        if (!prepared.lost.empty() && std::ranges::none_of(m_project.tracks, isKept))
            throw captureError(prepared.lostText());
        m_made.keep();
        prepared.hardwareFailed = m_hardwareFailed;
        return prepared;
    }

private:
    /// Converts a track or records it as lost, so that the other tracks are still recovered.
    void convertOrLose(const MediaTrack& track, Prepared& prepared)
    {
        try {
            prepared.files.insert_or_assign(track.id, converted(track));
        } catch (const Error& error) {
            // The track is not lost if the disk is full.
            if (std::string_view(error.what()).contains("No space left on device"))
                throw;
            prepared.lost[track.id] = error.what();
        }
    }

    static fs::path usableFfmpeg()
    {
        const auto program = ProcessRunner::ffmpeg();
        if (!program)
            throw captureError("Instala FFmpeg 7 o posterior para preparar la grabación.");
        ProcessRunner::requireUsable(*program);
        return *program;
    }

    /// Whether an earlier preparation, which lost another track, already converted this one. Encoding it again would
    /// only cost quality.
    bool isPrepared(const MediaTrack& track) const
    {
        return m_project.state == ProjectState::needsRecovery
            && track.file.starts_with(std::format("media/{}-prepared-", textOf(track.kind)));
    }

    bool needsConversion(const MediaTrack& track) const
    {
        const fs::path file = m_store.mediaURL(m_project, track.file);
        if (file.extension() == ".webm")
            return true;
        try {
            return !m_probe.facts(file, m_stop).duration;
        } catch (const std::exception&) {
            return true;
        }
    }

    /// The frame size of the encoded track, even.
    RenderGraph::FrameSize sizeOf(const fs::path& file) const
    {
        const auto even = [](std::int64_t side) { return std::max<std::int64_t>(side + side % 2, 2); };
        try {
            if (const auto facts = m_probe.facts(file, m_stop); facts.video)
                return {.width = even(facts.video->width), .height = even(facts.video->height)};
        } catch (const std::exception&) {
            // The conversion reports unreadable files.
        }
        return {.width = 1920, .height = 1080};
    }

    /// Pads or trims the beginning of a video track. Browsers record at a variable rate; `fps` fills in from time 0.
    std::string videoStart(const MediaTrack& track) const
    {
        if (!isAligned(track))
            return {};
        return std::format("setpts=PTS-STARTPTS+{}/TB,fps={}:start_time=0,", track.start, m_project.fps);
    }

    static std::string audioStart(const MediaTrack& track)
    {
        if (!isAligned(track))
            return {};
        // Fixed notation, because ffmpeg rejects exponents in durations.
        return track.start > 0 ? std::format(",adelay={:.3f}:all=1", track.start * 1000)
                               : std::format(",atrim=start={:.6f},asetpts=PTS-STARTPTS", -track.start);
    }

    void convert(const MediaTrack& track, const Arguments& device, Arguments input, const fs::path& target) const
    {
        Arguments arguments = ffmpegArguments();
        append(arguments, device);
        append(arguments, std::move(input));
        // If a browser dropped audio, only the timestamps show the gap. Ignoring it would make the audio early; the
        // default ignores gaps of up to a tenth of a second.
        append(
            arguments, {"-af", "aresample=async=1:min_hard_comp=0.005" + audioStart(track), "-c:a", "aac", target.string()});
        ProcessRunner::run(m_ffmpeg, arguments, {}, 0, m_stop);
    }

    /// Returns whether a hardware encoder failed and the software encoder took over.
    bool convertVideo(const MediaTrack& track, const fs::path& source, const fs::path& target) const
    {
        const auto encode = [&](const VideoEncoder& encoder) {
            // Encoders accept only even sizes; browsers and imported movies may have odd ones.
            const std::string even = videoStart(track) + "pad=ceil(iw/2)*2:ceil(ih/2)*2";
            Arguments video{"-i", source.string(), "-vf", encoder.upload.empty() ? even : even + "," + encoder.upload};
            append(video, encoder.arguments(videoBitRate));
            convert(track, encoder.device, std::move(video), target);
        };
        const auto arguments = [](const VideoEncoder& encoder) { return encoder.arguments(videoBitRate); };
        return encodeWithBest(m_ffmpeg, {.size = sizeOf(source), .arguments = arguments}, encode, m_stop);
    }

    Prepared::File converted(const MediaTrack& track)
    {
        const fs::path source = m_store.mediaURL(m_project, track.file);
        if (!fs::exists(source))
            throw captureError(std::format("Falta «{}».", track.file));
        const std::string nothing = std::format("«{}» no contiene nada que recuperar.", track.file);
        if (fs::is_empty(source))
            throw captureError(nothing);
        Prepared::File result{.file = std::format("media/{}-prepared-{}{}", textOf(track.kind), Uuid::random().text(),
                                  isAudio(track) ? ".m4a" : ".mov")};
        const fs::path target = m_store.mediaURL(m_project, result.file);
        m_made.add(target);

        try {
            if (isAudio(track))
                convert(track, {}, {"-i", source.string(), "-vn"}, target);
            else
                m_hardwareFailed |= convertVideo(track, source, target);
        } catch (const Error& error) {
            const std::string_view cause = FailureReport::cause(error.what());
            throw captureError(
                std::format("«{}» no se puede recuperar: {}", track.file, cause.empty() ? error.what() : cause));
        }

        // An input without frames makes an empty file.
        const auto facts = m_probe.facts(target, m_stop);
        if (!facts.duration || !(*facts.duration > 0))
            throw captureError(nothing);
        result.duration = *facts.duration;
        result.beginsAtZero = isAligned(track);
        // The document that names this file must not reach the disk first.
        flushFile(target);
        flushFolder(target.parent_path());
        return result;
    }

    const VideoProject& m_project;
    const ProjectStore& m_store;
    const MediaProbe& m_probe;
    std::stop_token m_stop;
    fs::path m_ffmpeg;
    NewFiles m_made;
    bool m_hardwareFailed = false;
};

} // namespace

Prepared prepare(const VideoProject& project, const ProjectStore& store, const MediaProbe& probe, Which which,
    const ProgressCallback& progress, const std::stop_token& stop)
{
    return Preparation(project, store, probe, stop).run(which, progress);
}

void apply(VideoProject& project, const Prepared& prepared)
{
    auto& tracks = project.tracks.edit();
    for (auto& track : tracks) {
        const auto found = prepared.files.find(track.id);
        if (found == prepared.files.end())
            continue;
        track.file = found->second.file;
        if (found->second.beginsAtZero) {
            track.duration = std::max(track.duration + track.start, 0.0);
            track.start = 0;
        }
        track.duration = std::max(track.duration, found->second.duration);
        project.duration = std::max(project.duration, track.start + track.duration);
    }
    if (prepared.events && project.edit.events.empty())
        project.edit.events = SharedList(*prepared.events);
    project.state = prepared.lost.empty() ? ProjectState::ready : ProjectState::needsRecovery;
}

void dropLost(VideoProject& project, const std::map<Uuid, std::string>& lost)
{
    std::erase_if(project.tracks.edit(), [&](const MediaTrack& track) { return lost.contains(track.id); });
    project.state = ProjectState::ready;
}

std::string Prepared::lostText() const
{
    std::string text;
    for (const auto& [track, reason] : lost)
        text += (text.empty() ? "" : " ") + reason;
    return text;
}

std::string failureText(const std::exception& error)
{
    return "No se ha podido recuperar toda la grabación: " + describe(error);
}

} // namespace orvo::RecordingPreparation
