#pragma once

#include <filesystem>
#include <span>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

/// Images that lie over the frames of a project: which kinds there are, and how `ffmpeg` takes them.
namespace orvo::OverlayImage {

/// A kind of image.
struct Kind {
    std::string_view name; ///< "PNG".
    std::string_view mime; ///< "image/png".
    std::string_view patterns; ///< Of file names, separated by blanks: "*.jpg *.jpeg".
    std::string_view demuxer; ///< The name that `ffmpeg` has for it.
};

/// Every kind that can be shown for as long as wanted. File panels, drops and `orvo image` take these and no others.
std::span<const Kind> kinds();

/// Their names in a sentence: "PNG, JPEG, …, BMP o TIFF".
std::string kindNames();

/// The kind of a file by its first bytes, whatever its name says; null for any other file. Ignores errors.
const Kind* kindOf(const std::filesystem::path& file);

/// The options and the "-i" by which `ffmpeg` reads an image: the one frame of a still, an animation repeated for `seconds`.
std::vector<std::string> input(const std::filesystem::path& file, double seconds);

/// Whether `ffmpeg` decodes the image whole. It would search one that it cannot decode for the first frame for ever.
///
/// Blocks for some hundredths of a second. Throws `std::system_error` when the program cannot be started, and `Cancelled`
/// when `stop` was requested.
bool isDecodable(const std::filesystem::path& ffmpeg, const std::filesystem::path& file, const std::stop_token& stop = {});

/// Whether a file begins as one of the kinds and is decodable by the `ffmpeg` that is found. Without one, the beginning
/// decides. Throws as `isDecodable`.
bool isUsable(const std::filesystem::path& file, const std::stop_token& stop = {});

} // namespace orvo::OverlayImage
