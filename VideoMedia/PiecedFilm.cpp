#include "VideoMedia/PiecedFilm.h"

#include "VideoCore/Error.h"
#include "VideoCore/FileIO.h"
#include "VideoMedia/Cores.h"
#include "VideoMedia/ExportFormats.h"
#include "VideoMedia/ExportService.h"
#include "VideoMedia/HlsLadder.h"
#include "VideoMedia/InParallel.h"
#include "VideoMedia/NumberText.h"
#include "VideoMedia/OverlayImage.h"
#include "VideoMedia/PacedSource.h"
#include "VideoMedia/PieceFile.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <cmath>
#include <condition_variable>
#include <exception>
#include <format>
#include <fstream>
#include <iterator>
#include <limits>
#include <mutex>
#include <ranges>
#include <set>
#include <string_view>
#include <system_error>
#include <thread>

namespace orvo {

namespace fs = std::filesystem;

namespace {

constexpr int renderer = 1; ///< Increment when the same recipe gives other frames.
constexpr std::int64_t minFilm = 30; ///< Seconds; shorter films are rendered whole.

/// Reading begins this many seconds before the first frame of a piece, because frames are not stored in display order.
constexpr double readAhead = 0.5;

/// The number after the last `name` in the output of ffmpeg.
std::optional<std::int64_t> lastNumber(std::string_view output, std::string_view name)
{
    const auto at = output.rfind(name);
    if (at == output.npos)
        return std::nullopt;
    output.remove_prefix(at + name.size());
    output.remove_prefix(std::min(output.find_first_not_of(' '), output.size()));
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(output.data(), output.data() + output.size(), value);
    return error == std::errc() ? std::optional(value) : std::nullopt;
}

/// The timestamp of the first frame of a file. Returns nullopt for files other than H.264 in a container of the QuickTime
/// family: others may give different timestamps after a seek.
std::optional<std::int64_t> firstTimestamp(
    const PiecedFilm::Source& source, const fs::path& ffmpeg, const std::stop_token& stop)
{
    try {
        const std::string output = ProcessRunner::run(ffmpeg,
            ffmpegArguments({"-copyts", "-threads", "1", "-i", source.input.file.string(), "-filter_complex",
                "[0:v]showinfo[out]", "-map", "[out]", "-frames:v", "1", "-fps_mode", "passthrough", "-f", "null", "-"}),
            {}, 0, stop);
        constexpr std::string_view videoStream = "Video: ";
        const auto video = output.find(videoStream);
        if (!output.contains("Input #0, mov,") || video == output.npos
            || !std::string_view(output).substr(video + videoStream.size()).starts_with("h264"))
            return std::nullopt;
        return lastNumber(output, " n:   0 pts:");
    } catch (const Error&) {
        return std::nullopt; // Rendering the film reports the error.
    }
}

/// Memory that is free for new work, in bytes; a large number if the system does not report it.
std::int64_t availableMemory()
{
    std::ifstream facts("/proc/meminfo");
    for (std::string line; std::getline(facts, line);) {
        if (const auto kilobytes = lastNumber(line, "MemAvailable:"))
            return *kilobytes * 1024;
    }
    return std::numeric_limits<std::int64_t>::max();
}

/// The number of parallel runs. One encoder uses only a few cores well, and each run buffers many frames.
int sideBySide(const PiecedFilm::Recipe& recipe)
{
    constexpr int coresPerRun = 4;
    constexpr int maxRuns = 8;
    constexpr std::int64_t bytesPerPixel = 250; // Memory of a run with every effect.
    std::int64_t pixels = recipe.size.width * recipe.size.height;
    for (const auto& step : recipe.steps)
        pixels += step.width * step.height;
    const auto allowed = availableMemory() / 2 / (bytesPerPixel * pixels);
    return static_cast<int>(
        std::clamp<std::int64_t>(std::min<std::int64_t>(availableCores() / coresPerRun, allowed), 1, maxRuns));
}

std::string quoted(const fs::path& file)
{
    std::string result = "'";
    for (const char c : file.string())
        result += c == '\'' ? "'\\''" : std::string(1, c);
    return result + "'";
}

/// A series of pieces: of the film, or of a smaller film.
struct Series {
    std::string name; ///< The beginning of the names of its files.
    std::string label; ///< The link of the graph that has its frames.
    Arguments encoder; ///< Its name and options, except threads and forced key frames.
    std::int64_t height = 0;
    std::vector<std::string> keys; ///< The cache key of each piece.
    std::vector<PieceFile::Facts> facts; ///< Of each piece; no frames until it is complete.
};

} // namespace

/// The state of one rendering, shared by its threads.
class PiecedFilm::Run {
public:
    Run(const PiecedFilm& film, const fs::path& work, PieceCache& cache, const std::stop_token& stop)
        : m_recipe(film.m_recipe)
        , m_pieces(film.m_pieces)
        , m_work(work)
        , m_cache(cache)
        , m_onStop(stop, [this] { m_stop.request_stop(); })
        , m_runs(m_recipe.runs > 0 ? m_recipe.runs : sideBySide(m_recipe))
        , m_done(m_pieces.size())
    {
        m_series.push_back({.name = "piece", .label = "vout", .encoder = m_recipe.encoder, .height = m_recipe.size.height});
        for (std::size_t i = 0; i < m_recipe.steps.size(); ++i) {
            const auto& step = m_recipe.steps[i];
            m_series.push_back({.name = std::format("step{}-", step.height),
                .label = std::format("step{}", i),
                .encoder = HlsLadder::encoderArguments(VideoEncoder::software(), step),
                .height = step.height});
        }
        for (auto& series : m_series) {
            series.keys.resize(m_pieces.size());
            series.facts.resize(m_pieces.size());
        }
    }

    /// Makes all pieces and the audio. `progress` receives 0..1.
    void makeAll(const MakeAudio& audio, const ProgressCallback& progress)
    {
        std::vector<std::jthread> threads;
        const auto start = [&](std::function<void()> job) {
            {
                const std::lock_guard lock(m_mutex);
                ++m_running;
            }
            threads.emplace_back([this, job = std::move(job)] { guard(job); });
        };
        plan();
        start([this, &audio] { audio(audioFile(), m_stop.get_token()); });
        const auto count = std::min(static_cast<std::size_t>(m_runs), m_groups.size());
        for (std::size_t i = 0; i < count; ++i)
            start([this] { makeGroups(); });
        follow(progress);
        threads.clear();
        if (m_failure)
            std::rethrow_exception(m_failure);
        if (m_stop.stop_requested())
            throw Cancelled();
    }

    /// Joins the pieces of the film, and those of each smaller one whose pieces fit, with the audio. Returns whether there
    /// is a film.
    bool join(const fs::path& target) const
    {
        const auto fileOfResult = [&](std::size_t i) {
            return i == 0 ? target : ExportService::stepFilm(target, m_series[i].height);
        };
        const auto joined = inParallel(
            m_series.size(), [&](std::size_t i) { return fits(m_series[i]) && join(m_series[i], fileOfResult(i)); });
        for (std::size_t i = 0; i < joined.size(); ++i) {
            if (!joined.front() || !joined[i])
                fs::remove(fileOfResult(i));
        }
        return joined.front();
    }

private:
    fs::path fileOf(const Series& series, std::size_t n) const { return m_work / std::format("{}{}.mp4", series.name, n); }
    fs::path audioFile() const { return m_work / "audio.m4a"; }

    /// Whether every piece has its number of frames, and all pieces have the same decoder parameters.
    bool fits(const Series& series) const
    {
        for (std::size_t n = 0; n < m_pieces.size(); ++n) {
            const auto& facts = series.facts[n];
            if (facts.frames != m_pieces[n].length() || facts.parameters.empty()
                || facts.parameters != series.facts.front().parameters)
                return false;
        }
        return true;
    }

    /// Joins pieces and audio without encoding again. Returns whether the result has all frames.
    bool join(const Series& series, const fs::path& target) const
    {
        std::string list = "ffconcat version 1.0\n";
        for (std::size_t n = 0; n < m_pieces.size(); ++n) {
            const double seconds = static_cast<double>(m_pieces[n].length()) / static_cast<double>(m_recipe.fps);
            list += std::format("file {}\nduration {}\n", quoted(fileOf(series, n)), durationText(seconds));
        }
        const fs::path listFile = m_work / (series.name + "list.txt");
        writeFileAtomically(listFile, list);
        // Pieces are joined at whole microseconds; rounding to frames keeps the errors from adding up.
        const auto onFrame = [&](std::string_view time) {
            return std::format("round({0}*TB*{1})/(TB*{1})", time, m_recipe.fps);
        };
        Arguments arguments = ffmpegArguments({"-f", "concat", "-safe", "0", "-auto_convert", "0", "-i", listFile.string(),
            "-i", audioFile().string(), "-map", "0:v", "-map", "1:a", "-c", "copy", "-bsf:v",
            std::format("setts=pts={}:dts={}", onFrame("PTS"), onFrame("DTS"))});
        append(arguments, m_recipe.container);
        append(arguments, {"-progress", "pipe:1", target.string()});
        const std::string output = ProcessRunner::run(m_recipe.ffmpeg, arguments, {}, 0, m_stop.get_token());
        return lastNumber(output, "\nframe=") == m_pieces.back().position + m_pieces.back().length();
    }

    /// Runs a thread's job. The first failure stops the others.
    void guard(const std::function<void()>& job)
    {
        std::exception_ptr failure;
        try {
            job();
        } catch (const Cancelled&) { // NOLINT(bugprone-empty-catch): another thread failed, or all are stopped.
        } catch (...) {
            failure = std::current_exception();
        }
        {
            const std::lock_guard lock(m_mutex);
            if (failure && !m_failure)
                m_failure = failure;
            --m_running;
        }
        m_changed.notify_one();
        if (failure)
            m_stop.request_stop();
    }

    /// Reports the progress of the threads until they have ended.
    void follow(const ProgressCallback& progress)
    {
        const auto all = static_cast<double>(m_pieces.back().position + m_pieces.back().length());
        double reported = -1;
        std::unique_lock lock(m_mutex);
        for (;;) {
            double done = 0;
            for (std::size_t n = 0; n < m_pieces.size(); ++n)
                done += m_done[n] * static_cast<double>(m_pieces[n].length()) / all;
            done = std::min(done, 1.0);
            const bool running = m_running > 0;
            if (progress && done > reported) {
                reported = done;
                lock.unlock();
                progress(done);
                lock.lock();
            }
            if (!running)
                return;
            m_changed.wait(lock, [&] { return m_running == 0 || m_hasNews; });
            m_hasNews = false;
        }
    }

    /// Records the finished share of a group.
    void setDone(const std::vector<std::size_t>& group, double share)
    {
        const std::int64_t begin = m_pieces[group.front()].position;
        const auto length = m_pieces[group.back()].position + m_pieces[group.back()].length() - begin;
        {
            const std::lock_guard lock(m_mutex);
            for (const auto n : group) {
                const double done = share * static_cast<double>(length) - static_cast<double>(m_pieces[n].position - begin);
                m_done[n] = std::clamp(done / static_cast<double>(m_pieces[n].length()), 0.0, 1.0);
            }
            m_hasNews = true;
        }
        m_changed.notify_one();
    }

    /// Takes cached pieces and puts the others into groups, each made by one run: a run reads, draws and encodes adjacent
    /// pieces without a restart.
    void plan()
    {
        const auto missing = piecesToMake();
        for (const auto n : missing) {
            for (auto& series : m_series)
                drop(series, n); // Never write to a link into the cache.
        }
        constexpr std::size_t maxTogether = 30;
        constexpr std::int64_t maxGap = 5; // Seconds; a run reads shorter cuts between its pieces.
        const auto share = missing.size() / (2 * static_cast<std::size_t>(m_runs));
        const auto together = m_runs == 1 ? maxTogether : std::clamp<std::size_t>(share, 1, maxTogether);
        for (const auto n : missing) {
            const bool follows = !m_groups.empty() && m_groups.back().size() < together && m_groups.back().back() + 1 == n
                && m_pieces[n].first() - m_pieces[n - 1].last() <= maxGap * m_recipe.fps;
            if (!follows)
                m_groups.emplace_back();
            m_groups.back().push_back(n);
        }
    }

    /// The pieces that are not in the cache. Decides whether smaller films are made: pieces that are cached without them
    /// have to be rendered again.
    std::vector<std::size_t> piecesToMake()
    {
        constexpr double maxAlone = 0.25; // With fewer, rendering them takes less time than scaling the finished film.
        std::vector<std::size_t> missing;
        std::vector<std::size_t> alone;
        for (std::size_t n = 0; n < m_pieces.size(); ++n) {
            if (m_stop.stop_requested())
                throw Cancelled();
            const auto shown = RenderGraph::shownIn(m_recipe.project, m_pieces[n], m_recipe.fps);
            setKeys(n, keyOf(m_pieces[n], shown, annotationsOf(shown)));
            if (!take(m_series.front(), n))
                missing.push_back(n);
            else if (!std::ranges::all_of(m_series | std::views::drop(1), [&](Series& step) { return take(step, n); }))
                alone.push_back(n);
            else
                m_done[n] = 1;
        }
        if (static_cast<double>(alone.size()) > maxAlone * static_cast<double>(m_pieces.size())) {
            m_series.resize(1);
            for (const auto n : alone)
                m_done[n] = 1;
            return missing;
        }
        std::ranges::copy(alone, std::back_inserter(missing));
        std::ranges::sort(missing);
        return missing;
    }

    /// Sets the keys of a piece from the film's.
    void setKeys(std::size_t n, const std::string& film)
    {
        m_series.front().keys[n] = film;
        for (std::size_t i = 0; i < m_recipe.steps.size(); ++i) {
            auto& step = m_series[i + 1];
            PieceKey key(m_recipe.version);
            key.add(film);
            key.add(scaling());
            key.add(step.label);
            key.add(step.encoder);
            step.keys[n] = key.finish();
        }
    }

    /// Takes a piece from the cache.
    bool take(Series& series, std::size_t n)
    {
        return m_cache.take(series.keys[n], fileOf(series, n)) && isRight(series, n);
    }

    void drop(Series& series, std::size_t n)
    {
        std::error_code ignored;
        fs::remove(fileOf(series, n), ignored);
        series.facts[n] = {};
    }

    void makeGroups()
    {
        for (std::size_t n = m_next++; n < m_groups.size(); n = m_next++) {
            if (m_stop.stop_requested())
                throw Cancelled();
            encode(m_groups[n]);
            for (auto& series : m_series) {
                for (const auto piece : m_groups[n])
                    keep(series, piece);
            }
            setDone(m_groups[n], 1);
        }
    }

    /// Whether a piece has its number of frames.
    bool isRight(Series& series, std::size_t n)
    {
        series.facts[n] = PieceFile::factsOf(fileOf(series, n));
        return series.facts[n].frames == m_pieces[n].length();
    }

    void keep(Series& series, std::size_t n)
    {
        if (series.facts[n].frames == 0 && isRight(series, n))
            m_cache.keep(series.keys[n], fileOf(series, n));
    }

    std::string annotationsOf(const VideoProject& shown) const
    {
        return ExportService::annotations(shown, m_recipe.size.width, m_recipe.size.height);
    }

    std::string graphOf(const RenderGraph::Piece& piece, const VideoProject& shown, const fs::path& annotations,
        const std::string& camera = {}) const
    {
        std::vector<RenderGraph::Input> inputs;
        inputs.reserve(m_recipe.sources.size());
        for (const auto& source : m_recipe.sources)
            inputs.push_back(source.input);
        return RenderGraph::pieceVideo(shown, inputs,
            {.size = m_recipe.size,
                .fps = m_recipe.fps,
                .annotations = annotations,
                .camera = camera,
                .quickSharpening = m_recipe.quickSharpening},
            piece);
    }

    /// The chains that scale the film's frames, the link "all", to those of the smaller films.
    std::string scaling() const
    {
        return HlsLadder::scaling("all", m_recipe.steps, std::vector<std::string>(m_recipe.steps.size()));
    }

    /// The images of a piece, in document order.
    std::vector<fs::path> imagesOf(const VideoProject& shown) const
    {
        std::vector<fs::path> images;
        for (const auto& overlay : shown.edit.overlays) {
            if (overlay.kind == Overlay::Kind::image)
                images.push_back(m_recipe.images.at(overlay.content));
        }
        return images;
    }

    /// The cache key of a piece: a digest of everything that its frames depend on. Excludes its place in the film and so the
    /// place of its key frames.
    std::string keyOf(const RenderGraph::Piece& piece, const VideoProject& shown, const std::string& document) const
    {
        PieceKey key(m_recipe.version);
        key.add(std::to_string(renderer));
        key.add(graphOf(piece, shown, "annotations.ass"));
        key.add(document);
        for (const auto& source : m_recipe.sources) {
            key.addFile(source.input.file);
            key.add(source.decoding);
        }
        for (const auto& image : imagesOf(shown))
            key.addFile(image);
        key.add(m_recipe.encoder);
        return key.finish();
    }

    /// The pieces of a group as one.
    RenderGraph::Piece joined(const std::vector<std::size_t>& group) const
    {
        RenderGraph::Piece all = m_pieces[group.front()];
        for (const auto n : group | std::views::drop(1))
            std::ranges::copy(m_pieces[n].parts, std::back_inserter(all.parts));
        return all;
    }

    /// The camera, if the graph can read it.
    const Source* cameraOfGraph() const
    {
        const auto camera = std::ranges::find(
            m_recipe.sources, TrackKind::camera, [](const Source& source) { return source.input.track.kind; });
        const bool isRead = camera != m_recipe.sources.end() && !camera->isTurned
            && PacedSource::isKnown(m_recipe.ffmpeg, m_stop.get_token());
        return isRead ? &*camera : nullptr;
    }

    void encode(const std::vector<std::size_t>& group)
    {
        const auto piece = joined(group);
        const auto shown = RenderGraph::shownIn(m_recipe.project, piece, m_recipe.fps);
        const auto rate = static_cast<double>(m_recipe.fps);
        const fs::path annotations = m_work / std::format("annotations{}.ass", group.front());
        const fs::path graph = m_work / std::format("filters{}.txt", group.front());
        const int cores = std::max(availableCores() / m_runs, 1);
        const double start = static_cast<double>(piece.first()) / rate - readAhead;
        const Source* camera = cameraOfGraph();
        writeFileAtomically(annotations, annotationsOf(shown));
        std::string filters = graphOf(piece, shown, annotations,
            camera ? PacedSource::filter(camera->input.file, start, cores > 2 ? 2 : 1) : std::string());
        const bool hasSteps = m_series.size() > 1;
        if (hasSteps)
            filters += ";\n[vout]format=yuv420p,split=2[film][all];\n" + scaling();
        writeFileAtomically(graph, filters);
        Arguments arguments = ExportFormats::commonArguments();
        append(arguments, {"-copyts"});
        if (m_recipe.project.edit.sharpen && !m_recipe.quickSharpening && cores > 1)
            append(arguments, {"-filter_complex_threads", std::to_string(cores)});
        for (const auto& source : m_recipe.sources) {
            if (&source == camera)
                continue;
            // Reads from the key frame on: the first visible frame may be much older than the piece.
            if (start > 0)
                append(arguments, {"-noaccurate_seek", "-ss", durationText(start)});
            append(arguments, source.decoding);
            append(arguments, {"-i", source.input.file.string()});
        }
        for (const auto& image : imagesOf(shown))
            append(arguments, OverlayImage::input(image, m_recipe.project.duration));
        append(arguments, {"-/filter_complex", graph.string()});
        for (const auto& series : m_series) {
            const bool isFilm = &series == &m_series.front();
            append(arguments, {"-map", std::format("[{}]", isFilm && hasSteps ? "film" : series.label)});
            append(arguments, series.encoder);
            append(arguments, keyFramesOf(group));
            // Smaller frames keep fewer threads busy.
            append(arguments, {"-threads", std::to_string(isFilm ? filmThreads(cores) : std::max(cores / 2, 1))});
            append(arguments, {"-r", std::to_string(m_recipe.fps), "-progress", "pipe:1"});
            append(arguments, filesOf(series, group));
        }
        ProcessRunner::run(
            m_recipe.ffmpeg, arguments,
            [&](double part) {
                // A piece is complete once the next one exists; keep it even if this run is stopped.
                for (auto& series : m_series) {
                    for (const auto n : group | std::views::take(group.size() - 1)) {
                        if (fs::exists(fileOf(series, n + 1)))
                            keep(series, n);
                    }
                }
                setDone(group, part);
            },
            static_cast<double>(piece.length()) / rate, m_stop.get_token());
    }

    /// The encoder's threads for the film, in a run with this many cores. They wait for each other, so a run alone on the
    /// machine takes half again as many, unless sharpening fills the gaps. Each thread buffers frames.
    int filmThreads(int cores) const { return m_runs > 1 || m_recipe.project.edit.sharpen ? cores : cores + cores / 2; }

    /// The frames of a group's run at which its pieces begin, except the first piece.
    std::vector<std::int64_t> bordersOf(const std::vector<std::size_t>& group) const
    {
        std::vector<std::int64_t> borders;
        for (const auto n : group | std::views::drop(1))
            borders.push_back(m_pieces[n].position - m_pieces[group.front()].position);
        return borders;
    }

    /// The options that write each piece of a group to its file.
    Arguments filesOf(const Series& series, const std::vector<std::size_t>& group) const
    {
        if (group.size() == 1)
            return {fileOf(series, group.front()).string()};
        std::string frames;
        for (const auto border : bordersOf(group))
            frames += std::format("{}{}", frames.empty() ? "" : ",", border);
        std::string pattern;
        for (const char c : m_work.string()) // In the pattern, a percent sign would begin a number.
            pattern += c == '%' ? "%%" : std::string(1, c);
        return {"-avoid_negative_ts", "disabled", "-f", "segment", "-segment_format", "mp4", "-reset_timestamps", "1",
            "-segment_frames", frames, "-segment_start_number", std::to_string(group.front()),
            std::format("{}/{}%d.mp4", pattern, series.name)};
    }

    /// Key frames where pieces begin, and where the segments of a streaming package do, so that the package can copy the
    /// frames.
    Arguments keyFramesOf(const std::vector<std::size_t>& group) const
    {
        const std::int64_t segment = HlsLadder::segmentSeconds * m_recipe.fps;
        const std::int64_t begin = m_pieces[group.front()].position;
        const std::int64_t end = m_pieces[group.back()].position + m_pieces[group.back()].length();
        const auto borders = bordersOf(group);
        std::set<std::int64_t> frames(borders.begin(), borders.end());
        for (auto frame = (begin / segment + 1) * segment; frame < end; frame += segment)
            frames.insert(frame - begin);
        std::string times;
        for (const auto frame : frames) {
            times += std::format("{}{}", times.empty() ? "" : ",",
                durationText(static_cast<double>(frame) / static_cast<double>(m_recipe.fps)));
        }
        return times.empty() ? Arguments() : Arguments{"-force_key_frames", times};
    }

    const Recipe& m_recipe;
    const std::vector<RenderGraph::Piece>& m_pieces;
    const fs::path& m_work;
    PieceCache& m_cache;
    std::stop_source m_stop; ///< Stops all runs.
    std::stop_callback<std::function<void()>> m_onStop;
    int m_runs; ///< The number of parallel runs.
    std::vector<Series> m_series; ///< The film, then the smaller films, ascending.
    std::vector<std::vector<std::size_t>> m_groups; ///< The pieces of each run.
    std::atomic<std::size_t> m_next = 0;
    std::mutex m_mutex; ///< Guards the members below.
    std::condition_variable m_changed;
    std::vector<double> m_done; ///< The finished share of each piece.
    bool m_hasNews = false;
    int m_running = 0;
    std::exception_ptr m_failure;
};

std::optional<PiecedFilm> PiecedFilm::of(Recipe recipe, const std::stop_token& stop)
{
    PiecedFilm film(std::move(recipe));
    film.m_pieces = RenderGraph::piecesOf(film.m_recipe.project, film.m_recipe.fps);
    if (film.m_pieces.size() < 2
        || film.m_pieces.back().position + film.m_pieces.back().length() < minFilm * film.m_recipe.fps)
        return std::nullopt;
    auto& sources = film.m_recipe.sources;
    // A film rendered whole has no frames after the end of its clip, so the pieces would not match.
    const bool outlastsClip = std::ranges::any_of(sources, [&](const Source& source) {
        const auto length = std::llround(source.input.track.duration * static_cast<double>(film.m_recipe.fps));
        return RenderGraph::isVisibleVideo(source.input.track) && length > 0 && film.m_pieces.back().last() > length;
    });
    if (outlastsClip)
        return std::nullopt;
    const auto timestamps =
        inParallel(sources.size(), [&](std::size_t i) { return firstTimestamp(sources[i], film.m_recipe.ffmpeg, stop); });
    for (std::size_t i = 0; i < sources.size(); ++i) {
        if (!timestamps[i])
            return std::nullopt;
        sources[i].input.firstTimestamp = *timestamps[i];
    }
    return film;
}

bool PiecedFilm::make(const fs::path& target, const fs::path& work, const MakeAudio& audio, PieceCache& cache,
    const ProgressCallback& progress, const std::stop_token& stop) const
{
    Run run(*this, work, cache, stop);
    run.makeAll(audio, progress);
    return run.join(target);
}

} // namespace orvo
