#include "VideoMedia/ExportService.h"

#include "VideoCore/Error.h"
#include "VideoCore/FileIO.h"
#include "VideoCore/Timeline.h"
#include "VideoCore/Uuid.h"
#include "VideoMedia/Arguments.h"
#include "VideoMedia/Cores.h"
#include "VideoMedia/HlsLadder.h"
#include "VideoMedia/InParallel.h"
#include "VideoMedia/KeptSpans.h"
#include "VideoMedia/NumberText.h"
#include "VideoMedia/RenderGraph.h"
#include "VideoMedia/StreamedFilm.h"
#include "VideoMedia/VideoEncoder.h"

#include <algorithm>
#include <array>
#include <format>
#include <openssl/rand.h>
#include <ranges>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace orvo::ExportService {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t keySize = 16;
constexpr std::uintmax_t cipherBlock = 16; ///< Bytes; encrypted segments are a multiple of it.

void writeKey(const fs::path& file)
{
    std::array<unsigned char, keySize> key{};
    if (RAND_bytes(key.data(), static_cast<int>(key.size())) != 1)
        throw captureError("No se ha podido generar la clave de reproducción.");
    writeFileAtomically(file, std::string(key.begin(), key.end()));
}

/// The file from which ffmpeg reads the key's address for players and its path. Removed by the destructor.
class KeyInfo {
public:
    KeyInfo(fs::path file, const fs::path& key)
        : m_file(std::move(file))
    {
        writeFileAtomically(m_file, "../key.bin\n" + key.string() + "\n");
    }
    ~KeyInfo()
    {
        std::error_code ignored;
        fs::remove(m_file, ignored);
    }
    KeyInfo(const KeyInfo&) = delete;
    KeyInfo& operator=(const KeyInfo&) = delete;

    const fs::path& file() const noexcept { return m_file; }

private:
    fs::path m_file;
};

/// A path of the folder without percent signs, which ffmpeg would treat as a pattern. If the folder's own path has any,
/// this is a link to it, removed by the destructor.
class PlainPath {
public:
    explicit PlainPath(const fs::path& folder)
        : m_path(folder)
    {
        if (!folder.string().contains('%'))
            return;
        m_link = fs::temp_directory_path() / ("orvo-" + Uuid::random().text());
        fs::create_directory_symlink(folder, m_link);
        m_path = m_link;
    }
    ~PlainPath()
    {
        std::error_code ignored;
        if (!m_link.empty())
            fs::remove(m_link, ignored);
    }
    PlainPath(const PlainPath&) = delete;
    PlainPath& operator=(const PlainPath&) = delete;

    const fs::path& path() const noexcept { return m_path; }

private:
    fs::path m_path;
    fs::path m_link;
};

/// A step of the ladder in production.
struct Rung {
    HlsLadder::Rendition step;
    fs::path folder;
    fs::path film; ///< The movie, or the film of this step that was rendered beside it.
    bool isCopied = false; ///< Copies the film's frames.

    std::int64_t pixels() const { return step.width * step.height; }
};

/// The outputs of one run.
class Encoding {
public:
    enum class Audio : std::uint8_t { encoded, copied };

    Encoding(const fs::path& movie, Audio audio, const KeyInfo& key, const PlainPath& plain)
        : m_movie(movie)
        , m_audio(audio)
        , m_key(key)
        , m_plain(plain)
    {
    }

    /// The arguments that make all `rungs`. `encoders` has one for each rung that is not copied, in order.
    Arguments line(std::span<const Rung> rungs, std::span<const VideoEncoder> encoders) const
    {
        Arguments line = ffmpegArguments();
        for (std::size_t n = 0; n < encoders.size(); ++n) {
            if (n == 0 || encoders[n].device != encoders[n - 1].device)
                append(line, encoders[n].device);
        }
        append(line, {"-progress", "pipe:1", "-i", m_movie.string()});
        std::vector<fs::path> inputs{m_movie};
        for (const auto& rung : rungs) {
            if (rung.film != m_movie) {
                append(line, {"-i", rung.film.string()});
                inputs.push_back(rung.film);
            }
        }
        if (!encoders.empty())
            append(line, {"-filter_complex", graph(rungs, encoders)});
        std::size_t encoded = 0;
        for (const auto& rung : rungs) {
            const auto input = std::ranges::find(inputs, rung.film) - inputs.begin();
            if (rung.isCopied) {
                append(line, {"-map", std::format("{}:v:0", input), "-c:v", "copy"});
            } else {
                append(line, {"-map", std::format("[step{}]", encoded)});
                append(line, HlsLadder::encoderArguments(encoders[encoded], rung.step));
                append(line, HlsLadder::forcedKeyFrames());
                ++encoded;
            }
            append(line, {"-map", std::format("{}:a:0?", input)});
            append(line, outputOf(rung));
        }
        return line;
    }

private:
    /// Decodes the movie once for all steps.
    static std::string graph(std::span<const Rung> rungs, std::span<const VideoEncoder> encoders)
    {
        std::vector<HlsLadder::Rendition> steps;
        for (const auto& rung : rungs) {
            if (!rung.isCopied)
                steps.push_back(rung.step);
        }
        std::vector<std::string> uploads;
        for (const auto& encoder : encoders)
            uploads.push_back(encoder.upload);
        return HlsLadder::scaling("0:v:0", steps, uploads);
    }

    Arguments outputOf(const Rung& rung) const
    {
        const fs::path folder = m_plain.path() / rung.folder.filename();
        Arguments line{"-c:a"};
        if (m_audio == Audio::copied)
            append(line, {"copy"});
        else
            append(line, {"aac", "-b:a", std::to_string(HlsLadder::audioBitRate)});
        append(line,
            {"-hls_time", std::to_string(HlsLadder::segmentSeconds), "-hls_playlist_type", "vod", "-hls_flags",
                "independent_segments", "-hls_key_info_file", m_key.file().string(), "-hls_segment_filename",
                folder.string() + "/%05d.ts", (folder / "index.m3u8").string()});
        return line;
    }

    const fs::path& m_movie;
    Audio m_audio;
    const KeyInfo& m_key;
    const PlainPath& m_plain;
};

/// The number of first rungs that one run makes: at least one, more while cores are free. The limit on pixels also bounds
/// the memory, because encoders buffer many frames.
std::size_t togetherIn(std::span<const Rung> rungs)
{
    constexpr auto pixelsPerCore = std::int64_t{1920} * 1080;
    const auto maxPixels = pixelsPerCore * std::max(availableCores(), 2);
    std::size_t count = 0;
    std::int64_t pixels = 0;
    for (; count < rungs.size(); ++count) {
        pixels += rungs[count].isCopied ? 0 : rungs[count].pixels();
        if (count > 0 && pixels > maxPixels)
            break;
    }
    return count;
}

/// Throws `captureError` if files are incomplete: ffmpeg can exit successfully without having written everything, for
/// example on a full disk.
void requireComplete(const fs::path& folder)
{
    const std::string playlist = readFile(folder / "index.m3u8");
    const auto isWhole = [&](std::string_view segment) {
        std::error_code error;
        const auto size = fs::file_size(folder / segment, error);
        return !error && size > 0 && size % cipherBlock == 0;
    };
    std::size_t segments = 0;
    bool whole = true;
    for (std::size_t at = 0; at < playlist.size();) {
        const std::size_t lineEnd = std::min(playlist.find('\n', at), playlist.size());
        const std::string_view line(playlist.data() + at, lineEnd - at);
        at = lineEnd + 1;
        if (line.empty() || line.starts_with('#'))
            continue;
        ++segments;
        whole = whole && isWhole(line);
    }
    if (!whole || segments == 0 || !playlist.ends_with("#EXT-X-ENDLIST\n"))
        throw captureError(
            std::format("No se ha podido completar la calidad {} del vídeo. Comprueba que queda espacio en el disco.",
                folder.filename().string()));
}

} // namespace

Outcome hls(const fs::path& from, const VideoProject& project, const fs::path& destination, const ProgressCallback& progress,
    const std::stop_token& stop)
{
    const auto ffmpeg = ProcessRunner::requireFfmpeg();
    const auto ladder = HlsLadder::of(project);
    const fs::path folder = fs::absolute(destination);
    const fs::path movie = fs::absolute(from);
    fs::create_directories(folder);
    fs::remove(folder / "master.m3u8"); // Invalidates an earlier package.
    writeKey(folder / "key.bin");
    const KeyInfo key(folder / "key-info.txt", folder / "key.bin");
    const PlainPath plain(folder);

    std::vector<Rung> rungs;
    double allPixels = 0;
    for (const auto& step : ladder) {
        rungs.push_back({.step = step, .folder = folder / std::to_string(step.height), .film = movie});
        allPixels += static_cast<double>(rungs.back().pixels());
        fs::create_directories(rungs.back().folder);
    }
    const auto filmOf = [&](const Rung& rung) {
        const fs::path film = stepFilm(movie, rung.step.height);
        return fs::exists(film) ? film : movie;
    };
    const auto copies = inParallel(rungs.size(), [&](std::size_t n) {
        const fs::path scratch = plain.path() / rungs[n].folder.filename() / "packets.txt";
        return StreamedFilm::copiesInto(rungs[n].step, project.fps, filmOf(rungs[n]), ffmpeg, scratch, stop);
    });
    for (std::size_t n = 0; n < rungs.size(); ++n) {
        rungs[n].isCopied = copies[n].video;
        if (copies[n].video)
            rungs[n].film = filmOf(rungs[n]);
    }

    Outcome outcome;
    using Audio = Encoding::Audio;
    const Encoding encoding(movie, copies.back().audio ? Audio::copied : Audio::encoded, key, plain);
    const double seconds = project.playableDuration();
    double done = 0; // Share of all pixels.
    for (std::span<const Rung> left = rungs; !left.empty();) {
        const auto together = left.first(togetherIn(left));
        left = left.subspan(together.size());
        double share = 0;
        std::vector<VideoEncoder::Task> tasks;
        for (const auto& rung : together) {
            share += static_cast<double>(rung.pixels()) / allPixels;
            if (!rung.isCopied) {
                tasks.push_back({.size = {.width = rung.step.width, .height = rung.step.height},
                    .fps = project.fps,
                    .arguments = [step = rung.step](
                                     const VideoEncoder& encoder) { return HlsLadder::encoderArguments(encoder, step); }});
            }
        }
        const auto tell = [&](double part) {
            if (progress)
                progress(std::min(done + share * part, 1.0));
        };
        outcome.hardwareFailed |= encodeWithBest(
            ffmpeg, tasks,
            [&](std::span<const VideoEncoder> encoders) {
                ProcessRunner::run(ffmpeg, encoding.line(together, encoders), tell, seconds, stop);
                for (const auto& rung : together)
                    requireComplete(rung.folder);
            },
            stop);
        done += share;
        tell(0);
    }
    writeFileAtomically(folder / "master.m3u8", HlsLadder::masterPlaylist(ladder));
    writeFileAtomically(folder / "captions.vtt", Timeline::subtitles(project, Timeline::SubtitleFormat::webVtt));
    ProcessRunner::run(ffmpeg,
        ffmpegArguments({"-ss", durationText(RenderGraph::openingFade(project)), "-i", movie.string(), "-frames:v", "1",
            "-vf", "scale=960:-2", (plain.path() / "poster.jpg").string()}),
        {}, 0, stop);
    return outcome;
}

} // namespace orvo::ExportService
