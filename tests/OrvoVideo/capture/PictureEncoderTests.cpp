#include "OrvoVideo/capture/tracks/PictureEncoder.h"

#include <array>
#include <gtest/gtest.h>

namespace orvo::test {

namespace {

/// x264 in the place of a graphics card's encoder that takes no wider pictures than `width`.
PictureEncoder limitedTo(int width)
{
    return {.name = "x264enc",
        .options = "tune=zerolatency ! video/x-h264,width=(int)[1," + std::to_string(width) + "] ! identity",
        .bitRateOption = "datarate",
        .keyFrameOption = "error-after"};
}

TEST(PictureEncoderTests, IsOneThatTakesPicturesOfTheirSize)
{
    const PictureEncoder absent{
        .name = "nosuchenc", .options = "", .bitRateOption = "bitrate", .keyFrameOption = "key-int-max"};
    const std::array candidates{absent, limitedTo(400), limitedTo(800)};
    struct Case {
        PictureSize size;
        std::string wanted; ///< Found in the options of the one that is chosen.
    };
    for (const auto& [size, wanted] : {Case{{320, 192}, "400"}, Case{{640, 360}, "800"}, Case{{1024, 360}, ""}}) {
        const auto found = PictureEncoder::firstThatWorks(candidates, size, 30);
        ASSERT_EQ(found.has_value(), !wanted.empty()) << size.width;
        if (found) {
            EXPECT_NE(found->options.find(wanted), std::string::npos) << size.width;
        }
    }
}

} // namespace

} // namespace orvo::test
