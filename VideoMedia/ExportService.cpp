#include "VideoMedia/ExportService.h"

#include "VideoCore/Error.h"
#include "VideoCore/FileIO.h"
#include "VideoCore/Phrases.h"
#include "VideoCore/Timeline.h"
#include "VideoMedia/Arguments.h"
#include "VideoMedia/BurnedSubtitles.h"
#include "VideoMedia/CopyFile.h"
#include "VideoMedia/Cores.h"
#include "VideoMedia/ExportFormats.h"
#include "VideoMedia/ExportedSubtitles.h"
#include "VideoMedia/FilmAudio.h"
#include "VideoMedia/FilmSources.h"
#include "VideoMedia/FinishedFilms.h"
#include "VideoMedia/HlsLadder.h"
#include "VideoMedia/InParallel.h"
#include "VideoMedia/NumberText.h"
#include "VideoMedia/OverlayImage.h"
#include "VideoMedia/PieceCache.h"
#include "VideoMedia/PiecedFilm.h"
#include "VideoMedia/PipedRuns.h"
#include "VideoMedia/RenderGraph.h"
#include "VideoMedia/Sharpening.h"
#include "VideoMedia/VideoEncoder.h"
#include "VideoMedia/VideoLimits.h"
#include "VideoMedia/WorkFolder.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <format>
#include <functional>
#include <optional>
#include <ranges>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

namespace orvo::ExportService {

namespace fs = std::filesystem;

namespace {

constexpr double minVideo = 0.01; ///< Seconds; a shorter result is not worth a file.
constexpr double maxRecording = 7 * 24 * 3600; ///< Seconds; a document with a longer recording is damaged.

constexpr auto burnedName = "subtitles.ass"; ///< In the work folder.

[[noreturn]] void failWith(int code, const fs::path& path)
{
    throw fs::filesystem_error("export", path, std::error_code(code, std::system_category()));
}

/// Renames `by` to `file`; an existing file keeps its mode.
void replace(const fs::path& file, const fs::path& by)
{
    std::error_code ignored;
    if (const auto old = fs::symlink_status(file, ignored); fs::is_regular_file(old))
        fs::permissions(by, old.permissions(), ignored);
    fs::rename(by, file);
}

/// One export: the state that the mix and the render share.
class Export {
public:
    Export(const VideoProject& project, const ProjectStore& store, fs::path destination, const ExportSettings& settings,
        const MediaProbe& probe, std::stop_token stop)
        : m_project(project)
        , m_store(store)
        , m_destination(std::move(destination))
        , m_settings(settings)
        , m_probe(probe)
        , m_stop(std::move(stop))
    {
    }

    Outcome run(const ProgressCallback& progress)
    {
        const auto program = ProcessRunner::ffmpeg();
        if (!program)
            throw captureError("Instala FFmpeg desde Ajustes para exportar vídeos.");
        m_ffmpeg = *program;

        const WorkFolder work(m_store.directory(m_project.id), "render");
        checkProject();
        inspect();
        checkDestination();
        // Hidden beside the destination: an older video stays until the new one is complete.
        const WorkFolder beside(m_destination.parent_path(), ".orvo-export");
        Outcome outcome;
        const fs::path film = beside / ("video" + std::string(extensionOf(m_settings.format)));
        for (const auto& step : smallerSteps())
            fs::remove(stepFilm(m_destination, step.height)); // They show an older film.
        const std::string signature = FinishedFilms::signature(m_project, m_store, m_settings);
        if (!takeFinished(signature, film, progress))
            outcome.hardwareFailed = make(work, film, progress);
        outcome.keptSubtitles = putInPlace(beside, film);
        if (!m_settings.isTemporary)
            FinishedFilms::remember(m_project, m_store, signature, m_destination);
        return outcome;
    }

private:
    /// Asks ffmpeg about itself and about the sources, at the same time: each answer takes the start of a program.
    void inspect()
    {
        const std::array<std::function<void()>, 3> questions{[&] { m_version = ProcessRunner::requireUsable(m_ffmpeg); },
            [&] { m_sources = FilmSources::of(m_project, m_store, m_ffmpeg, m_settings.height, m_probe, m_stop); },
            [&] {
                if (m_settings.format == ExportFormat::mp4)
                    VideoEncoder::learn(m_ffmpeg, m_stop);
            }};
        inParallel(questions.size(), [&](std::size_t i) {
            questions[i]();
            return true;
        });
    }

    std::string subtitles() const
    {
        constexpr auto format = Timeline::SubtitleFormat::subRip;
        return m_settings.subtitles == SubtitleCues::phrases ? Phrases::subtitles(m_project, format)
                                                             : Timeline::subtitles(m_project, format);
    }

    void checkProject() const
    {
        const double playable = m_project.playableDuration();
        if (std::ranges::none_of(m_project.tracks, RenderGraph::isVisibleVideo) || !(playable > minVideo))
            throw captureError("El proyecto no contiene vídeo visible.");
        if (m_project.duration > maxRecording)
            throw captureError("La duración del proyecto no es válida.");
        if (m_project.width > VideoLimits::maxSide || m_project.height > VideoLimits::maxSide || m_settings.height < 1)
            throw captureError("El tamaño del proyecto no es válido.");
        if (!VideoLimits::isRate(m_settings.fps))
            throw captureError("La frecuencia de fotogramas del proyecto no es válida.");
    }

    /// The steps of a streaming package below the size of the film.
    std::vector<HlsLadder::Rendition> smallerSteps() const
    {
        if (!m_settings.isStreamed)
            return {};
        auto steps = HlsLadder::of(m_project);
        const auto height = outputSize().height;
        std::erase_if(steps, [&](const auto& step) { return step.height >= height; });
        return steps;
    }

    RenderGraph::FrameSize outputSize() const { return RenderGraph::outputSize(m_project, m_settings.height); }

    /// Rejects a destination that cannot be written, or that is a source of the project, before rendering.
    void checkDestination() const
    {
        const auto wanted = extensionOf(m_settings.format);
        std::string extension = m_destination.extension().string();
        std::ranges::transform(extension, extension.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? char(c + 32) : c; });
        if (extension != wanted)
            throw captureError(std::format("El archivo de destino debe terminar en «{}».", wanted));
        if (fs::is_directory(m_destination))
            failWith(EISDIR, m_destination);
        const fs::path folder = m_destination.parent_path();
        if (!fs::is_directory(folder))
            failWith(ENOENT, folder);
        if (const fs::path subtitles = subtitleFile(m_destination); hasCaptions() && fs::is_directory(subtitles))
            failWith(EISDIR, subtitles);
        // Subtitles are always written to the folder.
        for (const auto& target : {m_destination, folder}) {
            if (fs::exists(target) && ::access(target.c_str(), W_OK) != 0)
                failWith(errno, target);
        }
        if (m_sources.contain(m_destination))
            throw captureError("El destino es un archivo original del proyecto. Elige otro nombre.");
    }

    /// Moves the complete video and its subtitles to their final names. Steps that can fail on a full disk come before
    /// the first replacement. Returns the path where foreign subtitles were kept.
    std::optional<fs::path> putInPlace(const WorkFolder& beside, const fs::path& video) const
    {
        const fs::path captions = beside / "subtitles.srt";
        std::optional<fs::path> kept;
        if (hasCaptions()) {
            const std::string text = subtitles();
            writeFileAtomically(captions, text);
            ExportedSubtitles::mark(captions, text);
            flushFile(captions);
            kept = ExportedSubtitles::keepForeign(subtitleFile(m_destination), text);
        }
        flushFile(video);
        for (const auto& step : smallerSteps()) {
            if (const fs::path film = stepFilm(video, step.height); fs::exists(film))
                fs::rename(film, stepFilm(m_destination, step.height));
        }
        replace(m_destination, video);
        if (hasCaptions())
            replace(subtitleFile(m_destination), captions);
        flushFolder(m_destination.parent_path());
        return kept;
    }

    /// Whether the result has a subtitle file.
    bool hasCaptions() const { return hasSubtitleFile(m_settings); }

    FilmAudio audio(const WorkFolder& work) const
    {
        return {m_ffmpeg, m_project, m_sources.inputs, m_settings, work.path()};
    }

    /// Copies the film of an earlier export of the same edit. Returns false if there is none or it changes meanwhile.
    bool takeFinished(const std::string& signature, const fs::path& target, const ProgressCallback& progress) const
    {
        const auto finished = FinishedFilms::find(m_project, m_store, signature);
        if (!finished)
            return false;
        try {
            copyFile(*finished, target, progress, m_stop);
        } catch (const fs::filesystem_error&) {
            return false; // If the disk is at fault, rendering reports it.
        }
        if (FinishedFilms::find(m_project, m_store, signature) == finished)
            return true;
        fs::remove(target);
        return false;
    }

    /// Returns whether a hardware encoder failed and the software encoder took over.
    bool make(const WorkFolder& work, const fs::path& target, const ProgressCallback& progress)
    {
        switch (m_settings.format) {
        case ExportFormat::mp4:
            return m_settings.maxBytes ? makeLimited(work, target, progress) : renderVideo(work, target, progress);
        case ExportFormat::webm:
            prepareDocuments(work);
            renderBeside(work, target, ExportFormats::webmEncoder(), progress);
            break;
        case ExportFormat::audio:
            audio(work).make(target, progress, m_stop); // Without decoding a frame.
            break;
        case ExportFormat::gif: {
            constexpr double filmShare = 0.7; // Share of the total time.
            const auto part = [&](double from, double to) -> ProgressCallback {
                return [&progress, from, to](double done) {
                    if (progress)
                        progress(from + done * (to - from));
                };
            };
            prepareDocuments(work);
            const fs::path film = work / "film.mp4";
            renderBeside(work, film, VideoEncoder::software(), part(0, filmShare));
            ExportFormats::makeGif(
                m_ffmpeg, film, work / "palette.png", target, m_project.playableDuration(), part(filmShare, 1), m_stop);
            break;
        }
        }
        return false;
    }

    /// Renders with the bit rate that the maximum size allows, and again with less while the result is too large.
    bool makeLimited(const WorkFolder& work, const fs::path& target, const ProgressCallback& progress)
    {
        constexpr int maxTries = 4;
        constexpr double reserve = 0.96;
        const auto allowed = static_cast<double>(*m_settings.maxBytes);
        const auto limits = ExportFormats::limited(m_project, m_settings, m_project.playableDuration());
        m_settings.height = limits.height;
        m_bitRate = std::min(limits.bitRate, RenderGraph::videoBitRate(m_settings.quality, outputSize(), m_settings.fps));
        bool hardwareFailed = false;
        for (int i = 0; i < maxTries; ++i) {
            hardwareFailed |= renderVideo(work, target, progress);
            const auto size = static_cast<double>(fs::file_size(target));
            if (size <= allowed)
                return hardwareFailed;
            m_bitRate = static_cast<std::int64_t>(static_cast<double>(*m_bitRate) * allowed / size * reserve);
        }
        throw captureError(std::format(
            "El vídeo no cabe en {} MB. Exporta solo una parte, o sin límite de tamaño.", *m_settings.maxBytes / 1'000'000));
    }

    /// Writes the documents that the graph reads besides the inputs.
    void prepareDocuments(const WorkFolder& work) const
    {
        const auto size = outputSize();
        writeFileAtomically(work / "annotations.ass", annotations(m_project, size.width, size.height));
        if (m_settings.burned() != SubtitleCues::none) {
            writeFileAtomically(
                work / burnedName, BurnedSubtitles::document(m_project, m_settings.burned(), size.width, size.height));
        }
    }

    /// Returns whether a hardware encoder failed and the software encoder took over.
    bool renderVideo(const WorkFolder& work, const fs::path& target, const ProgressCallback& progress) const
    {
        prepareDocuments(work);
        return encodeWithBest(
            m_ffmpeg,
            {.size = outputSize(),
                .fps = m_settings.fps,
                .arguments = [this](const VideoEncoder& encoder) { return encoderArguments(encoder); }},
            [&](const VideoEncoder& encoder) {
                if (encoder != VideoEncoder::software() || !renderInPieces(work, target, progress))
                    renderBeside(work, target, encoder, progress);
            },
            m_stop);
    }

    /// Renders the film in pieces that later exports reuse. Returns false if it has to be rendered whole.
    bool renderInPieces(const WorkFolder& work, const fs::path& target, const ProgressCallback& progress) const
    {
        if (m_settings.isWhole || m_bitRate || m_settings.burned() != SubtitleCues::none)
            return false;
        auto recipe = pieceRecipe();
        if (!recipe)
            return false;
        const auto film = PiecedFilm::of(std::move(*recipe), m_stop);
        if (!film)
            return false;
        const fs::path folder = target.parent_path() / "pieces"; // On the disk that must also hold the whole film.
        fs::create_directories(folder);
        PieceCache cache;
        const auto makeAudio = [&](const fs::path& file, const std::stop_token& stop) {
            audio(work).makeWith(cache, m_version, file, stop);
        };
        bool done = false;
        try {
            done = film->make(target, folder, makeAudio, cache, progress, m_stop);
        } catch (...) {
            cache.trim(); // The cache keeps the pieces that were complete.
            throw;
        }
        fs::remove_all(folder);
        cache.trim();
        return done;
    }

    /// Returns nullopt for a film of several clips or with an animated image.
    std::optional<PiecedFilm::Recipe> pieceRecipe() const
    {
        PiecedFilm::Recipe recipe{.ffmpeg = m_ffmpeg,
            .version = m_version,
            .project = m_project,
            .size = outputSize(),
            .fps = m_settings.fps,
            .quickSharpening = hasQuickSharpening(),
            .encoder = plainEncoderArguments(VideoEncoder::software()),
            .container = ExportFormats::containerArguments(m_settings.format),
            .steps = smallerSteps()};
        bool hasClip = false;
        bool hasCamera = !m_project.edit.cameraVisible;
        for (std::size_t i = 0; i < m_sources.inputs.size(); ++i) {
            const bool isClip = RenderGraph::isVisibleVideo(m_sources.inputs[i].track);
            if (isClip && (hasClip || !m_sources.inputs[i].hasVideo))
                return std::nullopt;
            const bool isCamera = !hasCamera && m_sources.inputs[i].track.kind == TrackKind::camera;
            if (!isClip && !isCamera)
                continue;
            (isClip ? hasClip : hasCamera) = true;
            Arguments decoding;
            if (m_sources.inputs[i].track.kind == TrackKind::camera || m_sources.decoding[i].isEasy)
                decoding = {"-threads", "1"};
            if (m_sources.decoding[i].isRangeMeant)
                append(decoding, {"-color_range", "tv"});
            recipe.sources.insert(isClip ? recipe.sources.begin() : recipe.sources.end(),
                {.input = m_sources.inputs[i], .decoding = std::move(decoding), .isTurned = m_sources.decoding[i].isTurned});
        }
        auto image = m_sources.images.begin();
        for (const auto& overlay : m_project.edit.overlays) {
            if (overlay.kind != Overlay::Kind::image)
                continue;
            if (OverlayImage::isAnimation(*image))
                return std::nullopt;
            recipe.images.emplace(overlay.content, *image++);
        }
        return recipe;
    }

    Arguments encoderArguments(const VideoEncoder& encoder) const
    {
        Arguments line = plainEncoderArguments(encoder);
        append(line, HlsLadder::forcedKeyFrames());
        return line;
    }

    /// As `encoderArguments`, without the forced key frames.
    Arguments plainEncoderArguments(const VideoEncoder& encoder) const
    {
        Arguments line = encoder.arguments(
            m_bitRate.value_or(RenderGraph::videoBitRate(m_settings.quality, outputSize(), m_settings.fps)));
        append(line, encoder.noFinerThan(RenderGraph::minQuantizer(m_settings.quality)));
        // Key frames where the segments of a streaming package begin, so that the package can copy the frames.
        append(line, {"-g", std::to_string(m_settings.fps * HlsLadder::segmentSeconds)});
        return line;
    }

    /// Mixes the audio while the video is rendered. The mix goes through a pipe, not through the disk; the pipe is in
    /// the temporary folder because not every file system of a library supports pipes.
    void renderBeside(
        const WorkFolder& work, const fs::path& target, const VideoEncoder& encoder, const ProgressCallback& progress) const
    {
        const WorkFolder beside(fs::temp_directory_path(), "orvo-audio");
        const fs::path mixed = beside / "mixed.wav";
        PipedRuns::run(
            mixed, [&](const std::stop_token& stop) { audio(work).mix(mixed, stop); },
            [&](const std::stop_token& stop) { render(work, mixed, target, encoder, progress, stop); }, m_stop);
    }

    void render(const WorkFolder& work, const fs::path& mixed, const fs::path& target, const VideoEncoder& encoder,
        const ProgressCallback& progress, const std::stop_token& stop) const
    {
        writeFileAtomically(work / "filters.txt",
            RenderGraph::video(m_project, m_sources.inputs,
                {.size = outputSize(),
                    .fps = m_settings.fps,
                    .annotations = work / "annotations.ass",
                    .subtitles = m_settings.burned() == SubtitleCues::none ? fs::path() : work / burnedName,
                    .upload = encoder.upload,
                    .quickSharpening = hasQuickSharpening()}));
        const double playable = m_project.playableDuration();
        Arguments arguments = ExportFormats::commonArguments();
        if (const int threads = filterThreads(); threads > 1)
            append(arguments, {"-filter_complex_threads", std::to_string(threads)});
        append(arguments, encoder.device);
        append(arguments, videoInputArguments(encoder));
        append(arguments, {"-max_size", FilmAudio::packetSize, "-i", mixed.string()});
        for (const auto& image : m_sources.images)
            append(arguments, OverlayImage::input(image, m_project.duration));
        append(arguments, {"-/filter_complex", (work / "filters.txt").string(), "-map", "[vout]", "-map", "[aout]"});
        append(arguments, encoderArguments(encoder));
        // A constant rate gives the last frame its duration: otherwise the video ends one frame before the audio.
        append(arguments, {"-r", std::to_string(m_settings.fps)});
        append(arguments, ExportFormats::audioArguments(m_settings));
        append(arguments, ExportFormats::containerArguments(m_settings.format));
        append(arguments, {"-t", durationText(playable), "-progress", "pipe:1", target.string()});
        ProcessRunner::run(m_ffmpeg, arguments, progress, playable, stop);
    }

    bool hasQuickSharpening() const { return m_project.edit.sharpen && Sharpening::hasQuickFilter(m_ffmpeg, m_stop); }

    /// Threads per filter. Only `Sharpening::filter` is expensive enough to gain from slices.
    int filterThreads() const
    {
        constexpr int maxThreads = 8;
        return m_project.edit.sharpen && !hasQuickSharpening() ? std::min(availableCores(), maxThreads) : 1;
    }

    /// The inputs of the render, each preceded by its decoder options.
    Arguments videoInputArguments(const VideoEncoder& encoder) const
    {
        Arguments arguments;
        for (std::size_t i = 0; i < m_sources.inputs.size(); ++i) {
            if (const int threads = decoderThreads(i, encoder); threads > 0)
                append(arguments, {"-threads", std::to_string(threads)});
            if (m_sources.decoding[i].isRangeMeant)
                append(arguments, {"-color_range", "tv"});
            append(arguments, {"-i", m_sources.inputs[i].file.string()});
        }
        return arguments;
    }

    /// Decoder threads of an input; 0 leaves the choice to the decoder. Each thread costs time and buffers frames: one
    /// is enough while the encoder is slower. With many cores, or a hardware encoder, more are faster.
    int decoderThreads(std::size_t input, const VideoEncoder& encoder) const
    {
        constexpr int coresPerThread = 4; // Cores of a software encoder per decoder thread.
        constexpr int maxThreads = 4;
        if (m_sources.inputs[input].track.kind == TrackKind::camera)
            return 1; // Small frames, never the bottleneck.
        if (!m_sources.decoding[input].isEasy)
            return 0;
        const int cores = availableCores();
        return encoder == VideoEncoder::software() ? std::clamp(cores / coresPerThread, 1, maxThreads)
                                                   : std::min(cores, maxThreads);
    }

    const VideoProject& m_project;
    const ProjectStore& m_store;
    fs::path m_destination;
    ExportSettings m_settings;
    std::optional<std::int64_t> m_bitRate; ///< Video bits per second, if the file size is limited.
    const MediaProbe& m_probe;
    std::stop_token m_stop;
    fs::path m_ffmpeg;
    std::string m_version; ///< Of ffmpeg.
    FilmSources m_sources;
};

/// The project with everything outside `span` cut.
VideoProject only(const VideoProject& project, const TimeSpan& span)
{
    VideoProject part = project;
    const double start = std::clamp(std::min(span.start, span.end), 0.0, project.duration);
    const double end = std::clamp(std::max(span.start, span.end), start, project.duration);
    auto& cuts = part.edit.cuts.edit();
    if (start > 0)
        cuts.push_back({0, start});
    if (end < project.duration)
        cuts.push_back({end, project.duration});
    return part;
}

} // namespace

std::string Outcome::remarks() const
{
    std::string text;
    if (hardwareFailed)
        text = hardwareFailureText;
    if (keptSubtitles) {
        text += std::format(
            "{}Los subtítulos que había se conservan en «{}».", text.empty() ? "" : " ", keptSubtitles->filename().string());
    }
    return text;
}

fs::path subtitleFile(const fs::path& video)
{
    return fs::path(video).replace_extension("srt");
}

fs::path stepFilm(const fs::path& video, std::int64_t height)
{
    return video.parent_path() / std::format("{}-{}{}", video.stem().string(), height, video.extension().string());
}

bool hasSubtitleFile(const ExportSettings& settings)
{
    return settings.subtitles != SubtitleCues::none
        && (settings.format == ExportFormat::mp4 || settings.format == ExportFormat::webm);
}

double exportedDuration(const VideoProject& project, const ExportSettings& settings)
{
    return settings.span ? only(project, *settings.span).playableDuration() : project.playableDuration();
}

std::string_view extensionOf(ExportFormat format)
{
    constexpr std::array<std::string_view, 4> extensions{".mp4", ".webm", ".m4a", ".gif"};
    return extensions[static_cast<std::size_t>(format)];
}

Outcome exportVideo(const VideoProject& project, const ProjectStore& store, const fs::path& destination,
    const ExportSettings& settings, const MediaProbe& probe, const ProgressCallback& progress, const std::stop_token& stop)
{
    const VideoProject part = settings.span ? only(project, *settings.span) : project;
    // Resolves links: renaming over one would leave its target unchanged.
    return Export(part, store, fs::weakly_canonical(fs::absolute(destination)), settings, probe, stop).run(progress);
}

} // namespace orvo::ExportService
