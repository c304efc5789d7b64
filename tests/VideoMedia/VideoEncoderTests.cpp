#include "VideoMedia/VideoEncoder.h"

#include "TestSupport/TemporaryFolder.h"
#include "VideoCore/Error.h"
#include "VideoCore/FileIO.h"
#include "VideoMedia/ProcessRunner.h"

#include <filesystem>
#include <gmock/gmock.h>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

TEST(VideoEncoder, UsesTheSystemEncoderWhereItExists)
{
    // A program that lists it as ffmpeg does; there is no such system to run this test on.
    const TemporaryFolder folder;
    const fs::path program = folder / "ffmpeg";
    writeFileAtomically(program, "#!/bin/sh\necho ' V....D h264_videotoolbox    VideoToolbox H.264 Encoder (codec h264)'\n");
    fs::permissions(program, fs::perms::owner_all);

    const auto encoder = VideoEncoder::find(program, {.width = 64, .height = 36});
    EXPECT_THAT(encoder.arguments(1'000'000),
        ElementsAre("-c:v", "h264_videotoolbox", "-allow_sw", "1", "-b:v", "1000000", "-pix_fmt", "yuv420p"));
    EXPECT_TRUE(encoder.device.empty());
    EXPECT_TRUE(encoder.upload.empty());
    EXPECT_TRUE(encoder.noFinerThan(20).empty());
}

TEST(VideoEncoder, TheSoftwareEncoderTakesOverFromOneThatFails)
{
    const TemporaryFolder folder;
    const fs::path program = folder / "ffmpeg";
    writeFileAtomically(program, "#!/bin/sh\necho ' V....D h264_videotoolbox    VideoToolbox H.264 Encoder (codec h264)'\n");
    fs::permissions(program, fs::perms::owner_all);
    std::vector<std::string> used;
    bool softwareFails = false;
    const auto encode = [&](std::int64_t height) {
        return encodeWithBest(program, {.width = 1920, .height = height}, [&](const VideoEncoder& encoder) {
            used.push_back(encoder.name);
            if (softwareFails || encoder.name != "libx264")
                throw captureError("out of sessions");
        });
    };
    EXPECT_TRUE(encode(1080));
    EXPECT_FALSE(encode(1080)) << "not tried again";
    EXPECT_THAT(used, ElementsAre("h264_videotoolbox", "libx264", "libx264"));
    used.clear();
    softwareFails = true;
    EXPECT_THROW(encode(720), Error);
    EXPECT_THAT(used, ElementsAre("h264_videotoolbox", "libx264")) << "another size, and another reason";
}

TEST(VideoEncoder, WhatIsFoundEncodes)
{
    const auto ffmpeg = ProcessRunner::ffmpeg();
    ASSERT_TRUE(ffmpeg);
    const auto encoder = VideoEncoder::find(*ffmpeg, {.width = 64, .height = 64});
    std::vector<std::string> line{"-hide_banner", "-nostdin"};
    line.insert(line.end(), encoder.device.begin(), encoder.device.end());
    line.insert(line.end(),
        {"-f", "lavfi", "-i", "color=size=64x64:rate=30", "-frames:v", "3", "-vf",
            encoder.upload.empty() ? "null" : encoder.upload});
    const auto arguments = encoder.arguments(500'000);
    line.insert(line.end(), arguments.begin(), arguments.end());
    line.insert(line.end(), {"-f", "null", "-"});
    EXPECT_NO_THROW(ProcessRunner::run(*ffmpeg, line));
    EXPECT_THAT(VideoEncoder::software().arguments(400'000),
        ElementsAre("-c:v", "libx264", "-preset", "veryfast", "-b:v", "400000", "-pix_fmt", "yuv420p"));
    EXPECT_THAT(VideoEncoder::software().noFinerThan(20), ElementsAre("-qmin", "20"));
}

} // namespace

} // namespace orvo::test
