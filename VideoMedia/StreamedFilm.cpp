#include "VideoMedia/StreamedFilm.h"

#include "VideoCore/Error.h"
#include "VideoCore/FileIO.h"
#include "VideoMedia/Arguments.h"
#include "VideoMedia/FfprobeMediaProbe.h"
#include "VideoMedia/ProcessRunner.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <exception>
#include <optional>
#include <ranges>
#include <string_view>
#include <vector>

namespace orvo::StreamedFilm {

namespace fs = std::filesystem;

namespace {

/// Maximum bit rate of a segment relative to the mean of its step. The container takes the rest of the declared rate.
constexpr double allowedShare = 1.1;
constexpr double minMeasured = 1; ///< Seconds; shorter segments have no meaningful bit rate.

/// A compressed frame.
struct Packet {
    double time = 0; ///< Presentation time in seconds.
    double bits = 0;
    bool isKey = false;
};

std::optional<std::int64_t> integer(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() ? std::optional(value) : std::nullopt;
}

/// Parses the packet list of the muxer "framecrc": stream, DTS, PTS, duration, size, checksum, and flags unless it is a
/// key frame.
std::vector<Packet> packetsIn(std::string_view list)
{
    constexpr std::string_view timeBase = "#tb 0: ";
    std::vector<Packet> packets;
    double unit = 0; // Seconds.
    for (const auto part : std::views::split(list, '\n')) {
        const std::string_view line(part);
        if (line.starts_with(timeBase)) {
            const auto slash = line.find('/');
            const auto numerator = integer(line.substr(timeBase.size()));
            const auto denominator = slash == line.npos ? std::nullopt : integer(line.substr(slash + 1));
            if (numerator && denominator && *denominator > 0)
                unit = static_cast<double>(*numerator) / static_cast<double>(*denominator);
        }
        if (line.empty() || line.front() == '#')
            continue;
        std::array<std::string_view, 5> fields;
        std::size_t at = 0;
        for (auto& field : fields) {
            const auto comma = std::min(line.find(',', at), line.size());
            field = line.substr(at, comma - at);
            at = std::min(comma + 1, line.size());
        }
        const auto time = integer(fields[2]);
        const auto size = integer(fields[4]);
        if (!time || !size)
            return {};
        packets.push_back({.time = static_cast<double>(*time) * unit,
            .bits = static_cast<double>(*size) * 8,
            .isKey = !line.contains("F=0x")});
    }
    return packets;
}

/// Whether the packets, in decoding order, divide into the segments of a step.
bool areSegments(std::span<const Packet> packets, const HlsLadder::Rendition& step, std::int64_t fps)
{
    const double frame = 1 / static_cast<double>(fps);
    double begin = 0;
    double bits = 0;
    std::int64_t segments = 0;
    double end = 0;
    const auto fits = [&](double length) {
        return bits <= static_cast<double>(step.bitRate) * allowedShare * std::max(length, minMeasured);
    };
    for (const auto& packet : packets) {
        const auto due = static_cast<double>(segments * HlsLadder::segmentSeconds);
        if (packet.isKey && std::abs(packet.time - due) < frame / 2) {
            if (segments > 0 && !fits(packet.time - begin))
                return false;
            begin = packet.time;
            bits = 0;
            ++segments;
        } else if (segments == 0 || packet.time > due - frame / 2) {
            return false; // A segment would not begin with a key frame.
        }
        bits += packet.bits;
        end = std::max(end, packet.time + frame);
    }
    return segments > 0 && fits(end - begin);
}

bool isStepVideo(const MediaFacts& facts, const HlsLadder::Rendition& step)
{
    const auto& video = facts.video;
    return video && video->codec == "h264" && video->pixelFormat == "yuv420p" && video->width == step.width
        && video->height == step.height;
}

bool isStepAudio(const MediaFacts& facts)
{
    const auto& audio = facts.audio;
    return audio && audio->codec == "aac" && audio->channels <= 2 && audio->bitRate > 0
        && static_cast<double>(audio->bitRate) <= static_cast<double>(HlsLadder::audioBitRate) * allowedShare;
}

} // namespace

Copies copiesInto(const HlsLadder::Rendition& step, std::int64_t fps, const fs::path& film, const fs::path& ffmpeg,
    const fs::path& scratch, const std::stop_token& stop)
{
    Copies copies;
    try {
        const auto facts = FfprobeMediaProbe().facts(film, stop);
        copies.audio = isStepAudio(facts);
        if (isStepVideo(facts, step)) {
            ProcessRunner::run(ffmpeg,
                ffmpegArguments({"-i", film.string(), "-map", "0:v:0", "-c", "copy", "-f", "framecrc", scratch.string()}),
                {}, 0, stop);
            copies.video = areSegments(packetsIn(readFile(scratch)), step, fps);
        }
    } catch (const std::exception&) { // Encoding the steps reports the error.
    }
    std::error_code ignored;
    fs::remove(scratch, ignored);
    return copies;
}

} // namespace orvo::StreamedFilm
