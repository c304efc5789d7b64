#pragma once

#include <QImage>
#include <QRect>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace orvo::test {

/// A video whose every picture carries its number in bars, so that a program can read which one it sees.
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

/// The number of the picture seen in `place` of an image; nothing when there is none.
std::optional<int> frameNumber(const QImage& image, QRect place);

/// As above, with the picture filling the image.
std::optional<int> frameNumber(const QImage& image);

} // namespace orvo::test
