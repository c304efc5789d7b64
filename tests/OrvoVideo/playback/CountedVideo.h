#pragma once

#include <QImage>
#include <QRect>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace orvo::test {

/// A video whose frames show their numbers as bars, for `frameNumber`.
struct CountedVideo {
    int width = 320;
    int height = 180;
    int fps = 30;
    double seconds = 3;
    int keyFrameEvery = 30;
    std::string filter; ///< Further filters after the numbers are drawn, with a leading comma.
    std::vector<std::string> options; ///< Further output options.

    void write(const std::filesystem::path& file) const;
};

/// The number of the frame shown in `place` of an image; nullopt if it cannot be read.
std::optional<int> frameNumber(const QImage& image, QRect place);

/// The number of a frame that fills the image.
std::optional<int> frameNumber(const QImage& image);

} // namespace orvo::test
