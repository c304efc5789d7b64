#include "CountedVideo.h"

#include "TestSupport/Media.h"

#include <QColor>
#include <format>

namespace orvo::test {

namespace {

constexpr int bits = 12;

} // namespace

void CountedVideo::write(const std::filesystem::path& file) const
{
    // The upper quarter holds the bits, the next one their complements, the rest is grey.
    std::string bars = "drawbox=x=0:y=0:w=iw:h=floor(ih/4):color=black:t=fill,"
                       "drawbox=x=0:y=floor(ih/4):w=iw:h=floor(ih/2)-floor(ih/4):color=white:t=fill";
    for (int i = 0; i < bits; ++i) {
        const std::string place =
            std::format("x=floor(iw*{}/{}):w=floor(iw*{}/{})-floor(iw*{}/{})", i, bits, i + 1, bits, i, bits);
        const std::string isSet = std::format("enable='mod(floor(n/{}),2)'", 1 << i);
        bars += std::format(",drawbox={0}:y=0:h=floor(ih/4):color=white:t=fill:{1},drawbox={0}:y=floor(ih/4):h=floor(ih/"
                            "2)-floor(ih/4):color=black:t=fill:{1}",
            place, isSet);
    }
    std::vector<std::string> arguments{"-f", "lavfi", "-i",
        std::format("color=gray:s={}x{}:r={}:d={},format=yuv420p,{}{}", width, height, fps, seconds, bars, filter), "-c:v",
        "libx264", "-preset", "veryfast", "-pix_fmt", "yuv420p", "-bf", "3", "-g", std::to_string(keyFrameEvery),
        "-sc_threshold", "0"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    makeMedia(file, std::move(arguments));
}

std::optional<int> frameNumber(const QImage& image, QRect place)
{
    int number = 0;
    for (int i = 0; i < bits; ++i) {
        const int x = place.x() + (2 * i + 1) * place.width() / (2 * bits);
        const int bit = qGray(image.pixel(x, place.y() + place.height() / 8)) > 128 ? 1 : 0;
        const int opposite = qGray(image.pixel(x, place.y() + place.height() * 3 / 8)) > 128 ? 1 : 0;
        if (bit == opposite)
            return std::nullopt;
        number |= bit << i;
    }
    return number;
}

std::optional<int> frameNumber(const QImage& image)
{
    return image.isNull() ? std::nullopt : frameNumber(image, image.rect());
}

} // namespace orvo::test
