#pragma once

#include <filesystem>
#include <stop_token>
#include <string>
#include <vector>

/// Pictures that lie over a project's own: how `ffmpeg` takes them.
namespace orvo::OverlayImage {

/// The options and the "-i" by which `ffmpeg` gives a picture for `seconds`. An animation is repeated.
std::vector<std::string> input(const std::filesystem::path& file, double seconds);

/// Whether `ffmpeg` decodes the picture whole: PNG, JPEG, WebP, BMP, TIFF or GIF. Of one that it cannot decode it would look
/// for the first frame for ever.
///
/// Blocks for some hundredths of a second. Throws `std::system_error` when the program cannot be started, and `Cancelled`
/// when `stop` was requested.
bool isDecodable(const std::filesystem::path& ffmpeg, const std::filesystem::path& file, const std::stop_token& stop = {});

/// As `isDecodable` with the `ffmpeg` that is found; true where there is none to look into the file yet.
bool isUsable(const std::filesystem::path& file, const std::stop_token& stop = {});

} // namespace orvo::OverlayImage
