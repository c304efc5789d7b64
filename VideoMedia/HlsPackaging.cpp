#include "VideoMedia/ExportService.h"

#include "VideoCore/Error.h"
#include "VideoCore/FileIO.h"
#include "VideoCore/Timeline.h"
#include "VideoCore/Uuid.h"
#include "VideoMedia/Arguments.h"
#include "VideoMedia/HlsLadder.h"
#include "VideoMedia/NumberText.h"
#include "VideoMedia/RenderGraph.h"
#include "VideoMedia/VideoEncoder.h"

#include <algorithm>
#include <array>
#include <format>
#include <openssl/rand.h>
#include <string_view>
#include <utility>
#include <vector>

namespace orvo::ExportService {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t keySize = 16;
constexpr std::string_view systemEncoder = "h264_videotoolbox";
constexpr std::uintmax_t cipherBlock = 16; ///< Bytes; an encrypted segment is a multiple of it.

void writeKey(const fs::path& file)
{
    std::array<unsigned char, keySize> key{};
    if (RAND_bytes(key.data(), static_cast<int>(key.size())) != 1)
        throw captureError("No se ha podido generar la clave de reproducción.");
    writeFileAtomically(file, std::string(key.begin(), key.end()));
}

/// The file that tells ffmpeg where players find the key and where it is now; gone again when the object goes.
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

/// The folder under a path that ffmpeg can take for a pattern of file names: where it has a per cent sign, a link to it that
/// has none, gone again when the object goes.
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

/// The encoder with its bit rate, which it keeps to within half a second: what the master playlist declares is then true of
/// every segment, where one that saves bits for long would spend them all in the next. The system encoder has only the mean.
Arguments encoderArguments(const VideoEncoder& encoder, const HlsLadder::Rendition& step)
{
    Arguments line = encoder.plainArguments(step.bitRate);
    if (encoder.name != systemEncoder)
        append(line, {"-maxrate", std::to_string(step.bitRate), "-bufsize", std::to_string(step.bitRate / 2)});
    append(line, {"-g", std::to_string(step.keyFrameInterval)});
    return line;
}

Arguments encoding(const VideoEncoder& encoder, const HlsLadder::Rendition& step, const fs::path& from, const KeyInfo& key,
    const fs::path& folder)
{
    Arguments line{"-hide_banner", "-nostdin", "-y"};
    append(line, encoder.device);
    std::string filter = std::format("scale={}:{}", step.width, step.height);
    if (!encoder.upload.empty())
        filter += "," + encoder.upload;
    append(line, {"-i", from.string(), "-vf", filter});
    append(line, encoderArguments(encoder, step));
    const auto seconds = std::to_string(HlsLadder::segmentSeconds);
    append(line,
        {"-force_key_frames", "expr:gte(t,n_forced*" + seconds + ")", "-c:a", "aac", "-b:a", "128k", "-hls_time", seconds,
            "-hls_playlist_type", "vod", "-hls_flags", "independent_segments", "-hls_key_info_file", key.file().string(),
            "-hls_segment_filename", folder.string() + "/%05d.ts", (folder / "index.m3u8").string()});
    return line;
}

/// ffmpeg can come to its end without having written everything, for example on a full disk. Throws `captureError` then.
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
    const auto ffmpeg = ProcessRunner::ffmpeg();
    if (!ffmpeg)
        throw captureError("FFmpeg no está instalado.");
    const auto ladder = HlsLadder::of(project);
    const fs::path folder = fs::absolute(destination);
    const fs::path movie = fs::absolute(from);
    fs::create_directories(folder);
    fs::remove(folder / "master.m3u8"); // What follows does not belong to an earlier one.
    writeKey(folder / "key.bin");
    const KeyInfo key(folder / "key-info.txt", folder / "key.bin");
    const PlainPath plain(folder);

    Outcome outcome;
    double allPixels = 0;
    for (const auto& step : ladder)
        allPixels += static_cast<double>(step.width * step.height);
    double pixels = 0;
    for (const auto& step : ladder) {
        const fs::path rendition = folder / std::to_string(step.height);
        fs::create_directories(rendition);
        outcome.hardwareFailed |= encodeWithBest(
            *ffmpeg,
            {.size = {.width = step.width, .height = step.height},
                .fps = project.fps,
                .arguments = [&](const VideoEncoder& encoder) { return encoderArguments(encoder, step); }},
            [&](const VideoEncoder& encoder) {
                ProcessRunner::run(
                    *ffmpeg, encoding(encoder, step, movie, key, plain.path() / rendition.filename()), {}, 0, stop);
                requireComplete(rendition);
            },
            stop);
        pixels += static_cast<double>(step.width * step.height);
        if (progress)
            progress(pixels / allPixels);
    }
    writeFileAtomically(folder / "master.m3u8", HlsLadder::masterPlaylist(ladder));
    writeFileAtomically(folder / "captions.vtt", Timeline::subtitles(project, Timeline::SubtitleFormat::webVtt));
    ProcessRunner::run(*ffmpeg,
        {"-hide_banner", "-y", "-ss", numberText(RenderGraph::openingFade(project)), "-i", movie.string(), "-frames:v", "1",
            "-vf", "scale=960:-2", (plain.path() / "poster.jpg").string()},
        {}, 0, stop);
    return outcome;
}

} // namespace orvo::ExportService
