#pragma once

#include <filesystem>
#include <span>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

/// Overlay images: the supported formats and how `ffmpeg` reads them.
namespace orvo::OverlayImage {

/// An image format.
struct Kind {
    std::string_view name; ///< "PNG".
    std::string_view mime; ///< "image/png".
    std::string_view patterns; ///< Patterns of file names, separated by blanks: "*.jpg *.jpeg".
    std::string_view demuxer; ///< The name of its demuxer in `ffmpeg`.
};

/// All supported formats. File panels, drops and `orvo image` accept exactly these.
std::span<const Kind> kinds();

/// The names of the formats in a sentence: "PNG, JPEG, …, BMP o TIFF".
std::string kindNames();

/// The format of a file by its first bytes, whatever its extension; nullptr for any other file. Ignores errors.
const Kind* kindOf(const std::filesystem::path& file);

/// Whether an image is animated.
bool isAnimation(const std::filesystem::path& file);

/// The input options, with "-i", for an image: a still gives one frame, an animation repeats for `seconds`.
std::vector<std::string> input(const std::filesystem::path& file, double seconds);

/// Whether `ffmpeg` decodes the whole image. On an undecodable one, a render would search for its first frame forever.
///
/// Blocks for some hundredths of a second. Throws `std::system_error` if the program cannot be started, and `Cancelled`
/// if `stop` was requested.
bool isDecodable(const std::filesystem::path& ffmpeg, const std::filesystem::path& file, const std::stop_token& stop = {});

/// Whether a file begins like a supported format and the found `ffmpeg` decodes it. Without `ffmpeg`, only checks the
/// first bytes. Throws as `isDecodable`.
bool isUsable(const std::filesystem::path& file, const std::stop_token& stop = {});

} // namespace orvo::OverlayImage
