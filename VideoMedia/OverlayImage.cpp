#include "VideoMedia/OverlayImage.h"

#include "VideoMedia/Arguments.h"
#include "VideoMedia/NumberText.h"
#include "VideoMedia/ProcessRunner.h"

#include <array>
#include <fstream>
#include <string_view>

namespace orvo::OverlayImage {

namespace fs = std::filesystem;

namespace {

/// The formats of single pictures. Play lists and scripts, which would have other files read, are not among them.
constexpr auto formats = "image2,png_pipe,jpeg_pipe,webp_pipe,bmp_pipe,tiff_pipe,gif";

/// Whether a file begins as GIF does, whatever its name says.
bool isAnimation(const fs::path& file)
{
    std::array<char, 4> begin{};
    std::ifstream(file, std::ios::binary).read(begin.data(), begin.size());
    return std::string_view(begin.data(), begin.size()) == "GIF8";
}

/// The options before "-i" that have the name taken as it stands: with a percent sign it would be a pattern for a series of
/// pictures. Animations know neither patterns nor the option.
Arguments literally(const fs::path& file)
{
    if (file.native().contains('%') && !isAnimation(file))
        return {"-pattern_type", "none"};
    return {};
}

} // namespace

Arguments input(const fs::path& file, double seconds)
{
    Arguments arguments = isAnimation(file) ? Arguments{"-ignore_loop", "0"} : Arguments{"-loop", "1"};
    append(arguments, {"-t", numberText(seconds)});
    append(arguments, literally(file));
    append(arguments, {"-i", file.string()});
    return arguments;
}

bool isDecodable(const fs::path& ffmpeg, const fs::path& file, const std::stop_token& stop)
{
    Arguments arguments{"-hide_banner", "-nostdin", "-xerror", "-protocol_whitelist", "file", "-format_whitelist", formats};
    append(arguments, literally(file));
    append(arguments, {"-i", file.string(), "-frames:v", "1", "-f", "null", "-"});
    return ProcessRunner::succeeds(ffmpeg, arguments, stop);
}

bool isUsable(const fs::path& file, const std::stop_token& stop)
{
    const auto ffmpeg = ProcessRunner::ffmpeg();
    return !ffmpeg || isDecodable(*ffmpeg, file, stop);
}

} // namespace orvo::OverlayImage
