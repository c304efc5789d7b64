#include "VideoMedia/OverlayImage.h"

#include "VideoCore/Error.h"
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

/// Whether ffmpeg would take the name for a pattern of a series of pictures.
bool isPattern(const fs::path& file)
{
    return file.native().contains('%');
}

} // namespace

std::vector<std::string> input(const fs::path& file, double seconds)
{
    const std::string path = file.string();
    if (isAnimation(file))
        return {"-ignore_loop", "0", "-t", numberText(seconds), "-i", path};
    if (isPattern(file))
        return {"-loop", "1", "-t", numberText(seconds), "-pattern_type", "none", "-i", path};
    return {"-loop", "1", "-t", numberText(seconds), "-i", path};
}

bool isDecodable(const fs::path& ffmpeg, const fs::path& file, const std::stop_token& stop)
{
    std::vector<std::string> arguments{
        "-hide_banner", "-nostdin", "-xerror", "-protocol_whitelist", "file", "-format_whitelist", formats};
    if (isPattern(file) && !isAnimation(file))
        arguments.insert(arguments.end(), {"-pattern_type", "none"});
    arguments.insert(arguments.end(), {"-i", file.string(), "-frames:v", "1", "-f", "null", "-"});
    try {
        ProcessRunner::run(ffmpeg, arguments, {}, 0, stop);
        return true;
    } catch (const Cancelled&) {
        throw;
    } catch (const Error&) {
        return false;
    }
}

} // namespace orvo::OverlayImage
