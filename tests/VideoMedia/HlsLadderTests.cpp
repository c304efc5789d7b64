#include "TestSupport/Failure.h"
#include "TestSupport/Projects.h"
#include "VideoMedia/HlsLadder.h"

#include <gmock/gmock.h>

namespace orvo::test {

namespace {

using HlsLadder::Rendition;
using testing::ElementsAre;
using testing::HasSubstr;

VideoProject projectOf(std::int64_t width, std::int64_t height, std::int64_t fps = 30)
{
    auto project = emptyProject();
    project.width = width;
    project.height = height;
    project.fps = fps;
    return project;
}

std::vector<std::pair<std::int64_t, std::int64_t>> sizes(std::int64_t width, std::int64_t height)
{
    std::vector<std::pair<std::int64_t, std::int64_t>> result;
    for (const auto& step : HlsLadder::of(projectOf(width, height)))
        result.emplace_back(step.width, step.height);
    return result;
}

TEST(HlsLadder, EndsAtTheHeightOfTheProject)
{
    using Sizes = std::vector<std::pair<std::int64_t, std::int64_t>>;
    struct Case {
        std::int64_t width, height;
        Sizes expected;
    };
    const std::vector<Case> cases{
        {640, 360, {{640, 360}}},
        {1280, 700, {{876, 480}}}, // 877.7
        {1280, 720, {{852, 480}, {1280, 720}}},
        {1366, 768, {{852, 480}, {1280, 720}}}, // 853.75, 1280.6
        {1000, 1000, {{480, 480}, {720, 720}}},
        {1920, 1080, {{852, 480}, {1280, 720}, {1920, 1080}}},
        {3840, 2160, {{852, 480}, {1280, 720}, {1920, 1080}, {2560, 1440}, {3840, 2160}}},
        {301, 201, {{298, 200}}}, // Encoders accept only even sizes.
        {1080, 1920, {{270, 480}, {404, 720}, {606, 1080}, {810, 1440}}},
    };
    for (const auto& [width, height, expected] : cases)
        EXPECT_EQ(sizes(width, height), expected) << width << "×" << height;
}

TEST(HlsLadder, DeclaresItsBandwidths)
{
    EXPECT_THAT(HlsLadder::of(projectOf(100, 50)),
        ElementsAre(
            Rendition{.width = 100, .height = 50, .bitRate = 400'000, .keyFrameInterval = 180, .bandwidth = 628'000}));
    EXPECT_EQ(HlsLadder::masterPlaylist(HlsLadder::of(projectOf(1920, 1080))),
        "#EXTM3U\n#EXT-X-VERSION:3\n#EXT-X-INDEPENDENT-SEGMENTS\n"
        "#EXT-X-STREAM-INF:BANDWIDTH=1508240,RESOLUTION=852x480\n480/index.m3u8\n"
        "#EXT-X-STREAM-INF:BANDWIDTH=3238400,RESOLUTION=1280x720\n720/index.m3u8\n"
        "#EXT-X-STREAM-INF:BANDWIDTH=7126400,RESOLUTION=1920x1080\n1080/index.m3u8\n");
}

TEST(HlsLadder, RejectsUnusableSizesAndRates)
{
    const auto failure = [](const VideoProject& project) { return failureOf([&] { HlsLadder::of(project); }); };
    for (const auto& [width, height] : {std::pair{0, 720}, {1280, 0}, {-2, -2}, {2, 2'000}, {1, 1}, {1 << 30, 2}})
        EXPECT_EQ(failure(projectOf(width, height)), "El tamaño del proyecto no es válido.") << width << "×" << height;
    for (const auto fps : {0, -30, 1 << 30})
        EXPECT_THAT(failure(projectOf(1280, 720, fps)), HasSubstr("La frecuencia de fotogramas"));
}

} // namespace

} // namespace orvo::test
