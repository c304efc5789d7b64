#include "VideoMedia/OverlayImage.h"

#include "VideoMedia/Arguments.h"
#include "VideoMedia/NumberText.h"
#include "VideoMedia/ProcessRunner.h"

#include <algorithm>
#include <array>
#include <fstream>

namespace orvo::OverlayImage {

namespace fs = std::filesystem;

namespace {

using namespace std::string_view_literals;

struct Signature {
    Kind kind;
    std::string_view begin;
    std::string_view at8 = {}; ///< The bytes at offset 8.
};

// TIFF has two byte orders.
constexpr std::array<Signature, 7> signatures{{
    {{"PNG", "image/png", "*.png", "png_pipe"}, "\x89PNG\r\n\x1a\n"sv},
    {{"JPEG", "image/jpeg", "*.jpg *.jpeg", "jpeg_pipe"}, "\xFF\xD8\xFF"sv},
    {{"WebP", "image/webp", "*.webp", "webp_pipe"}, "RIFF"sv, "WEBP"sv},
    {{"GIF", "image/gif", "*.gif", "gif"}, "GIF8"sv},
    {{"BMP", "image/bmp", "*.bmp", "bmp_pipe"}, "BM"sv},
    {{"TIFF", "image/tiff", "*.tif *.tiff", "tiff_pipe"}, "II*\0"sv},
    {{"TIFF", "image/tiff", "*.tif *.tiff", "tiff_pipe"}, "MM\0*"sv},
}};

constexpr auto allKinds = [] {
    std::array<Kind, signatures.size() - 1> kinds{};
    std::ranges::transform(signatures.begin(), signatures.end() - 1, kinds.begin(), &Signature::kind);
    return kinds;
}();

/// The demuxers of the formats, and the one that `ffmpeg` chooses by extension. Excludes playlists and scripts, which
/// could make it read other files.
std::string formats()
{
    std::string list = "image2";
    for (const auto& kind : allKinds)
        list.append(",").append(kind.demuxer);
    return list;
}

/// Options that make ffmpeg take the path literally: a percent sign would make it a pattern for an image sequence. The
/// demuxers of animations have neither patterns nor this option.
Arguments literally(const fs::path& file)
{
    if (file.native().contains('%') && !isAnimation(file))
        return {"-pattern_type", "none"};
    return {};
}

} // namespace

bool isAnimation(const fs::path& file)
{
    const Kind* kind = kindOf(file);
    return kind && kind->demuxer == "gif";
}

std::span<const Kind> kinds()
{
    return allKinds;
}

std::string kindNames()
{
    std::string names;
    for (const auto& kind : allKinds)
        names.append(names.empty() ? "" : &kind == &allKinds.back() ? " o " : ", ").append(kind.name);
    return names;
}

const Kind* kindOf(const fs::path& file)
{
    std::array<char, 12> bytes{};
    std::ifstream(file, std::ios::binary).read(bytes.data(), bytes.size());
    const std::string_view content(bytes.data(), bytes.size());
    const auto found = std::ranges::find_if(signatures, [&](const Signature& signature) {
        return content.starts_with(signature.begin) && content.substr(8).starts_with(signature.at8);
    });
    return found == signatures.end() ? nullptr : &found->kind;
}

Arguments input(const fs::path& file, double seconds)
{
    // The overlay repeats the last frame, so a still is decoded and scaled once.
    Arguments arguments = literally(file);
    if (isAnimation(file))
        append(arguments, {"-ignore_loop", "0", "-t", durationText(seconds)});
    else
        append(arguments, {"-threads", "1"}); // One frame; each thread would keep memory for another.
    append(arguments, {"-i", file.string()});
    return arguments;
}

bool isDecodable(const fs::path& ffmpeg, const fs::path& file, const std::stop_token& stop)
{
    Arguments arguments = ffmpegArguments({"-xerror", "-protocol_whitelist", "file", "-format_whitelist", formats()});
    append(arguments, literally(file));
    append(arguments, {"-i", file.string(), "-frames:v", "1", "-f", "null", "-"});
    return ProcessRunner::succeeds(ffmpeg, arguments, stop);
}

bool isUsable(const fs::path& file, const std::stop_token& stop)
{
    if (!kindOf(file))
        return false;
    const auto ffmpeg = ProcessRunner::ffmpeg();
    return !ffmpeg || isDecodable(*ffmpeg, file, stop);
}

} // namespace orvo::OverlayImage
