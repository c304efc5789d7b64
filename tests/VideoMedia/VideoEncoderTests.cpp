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

/// A fake ffmpeg that lists a hardware encoder with limits and logs its trials.
class VideoEncoderChoice : public testing::Test {
protected:
    VideoEncoderChoice()
    {
        writeFileAtomically(program,
            "#!/bin/sh\n"
            "case \"$*\" in\n"
            "*-encoders*) echo ' V....D h264_videotoolbox    VideoToolbox H.264 Encoder (codec h264)' ;;\n"
            "*) echo \"$*\" >>'"
                + (folder / "trials").string()
                + "'\n"
                  "   case \"$*\" in *size=3840x2160*|*-maxrate*) exit 1 ;; esac ;;\n"
                  "esac\n");
        fs::permissions(program, fs::perms::owner_all);
    }

    static VideoEncoder::Task task(RenderGraph::FrameSize size, const std::vector<std::string>& more = {})
    {
        return {.size = size, .fps = 60, .arguments = [more](const VideoEncoder& encoder) {
                    auto line = encoder.arguments(1'000'000);
                    line.insert(line.end(), more.begin(), more.end());
                    return line;
                }};
    }

    std::string trials() const { return fs::exists(folder / "trials") ? readFile(folder / "trials") : std::string(); }

    static constexpr RenderGraph::FrameSize hd{.width = 1920, .height = 1080};
    static constexpr RenderGraph::FrameSize uhd{.width = 3840, .height = 2160};
    const TemporaryFolder folder;
    const fs::path program = folder / "ffmpeg";
};

TEST_F(VideoEncoderChoice, TriesHardwareOncePerSizeRateAndOptions)
{
    const auto encoder = VideoEncoder::find(program, task(hd));
    EXPECT_THAT(encoder.arguments(1'000'000),
        ElementsAre("-c:v", "h264_videotoolbox", "-allow_sw", "1", "-b:v", "1000000", "-pix_fmt", "yuv420p"));
    EXPECT_TRUE(encoder.device.empty());
    EXPECT_TRUE(encoder.upload.empty());
    EXPECT_TRUE(encoder.noFinerThan(20).empty());
    const std::string first = trials();
    EXPECT_THAT(first, testing::HasSubstr("color=size=1920x1080:rate=60"));
    VideoEncoder::find(program, task(hd));
    EXPECT_EQ(trials(), first) << "the result is kept";

    EXPECT_EQ(VideoEncoder::find(program, task(uhd)), VideoEncoder::software());
    EXPECT_EQ(VideoEncoder::find(program, task(hd, {"-maxrate", "5M"})), VideoEncoder::software());
    EXPECT_EQ(VideoEncoder::find(program, task(hd)), encoder);
}

TEST_F(VideoEncoderChoice, FallsBackToSoftwareWhenHardwareFails)
{
    std::vector<std::string> used;
    bool softwareFails = false;
    const auto encode = [&](std::int64_t height) {
        return encodeWithBest(program, task({.width = 1920, .height = height}), [&](const VideoEncoder& encoder) {
            used.push_back(encoder.name);
            if (softwareFails || encoder != VideoEncoder::software())
                throw captureError("out of sessions");
        });
    };
    EXPECT_TRUE(encode(1080));
    EXPECT_FALSE(encode(1080));
    EXPECT_THAT(used, ElementsAre("h264_videotoolbox", "libx264", "libx264")) << "failed hardware is not used again";
    used.clear();
    softwareFails = true;
    EXPECT_THROW(encode(720), Error);
    EXPECT_THROW(encode(720), Error);
    EXPECT_THAT(used, ElementsAre("h264_videotoolbox", "libx264", "h264_videotoolbox", "libx264"))
        << "if software fails too, the hardware is not at fault";
}

/// A wrong option would silently cost its users their hardware.
TEST(VideoEncoder, GivesHardwareOnlyOptionsThatItHas)
{
    const auto ffmpeg = ProcessRunner::requireFfmpeg();
    const std::string offered = ProcessRunner::run(ffmpeg, {"-hide_banner", "-encoders"});
    int known = 0;
    for (const auto& encoder : VideoEncoder::hardware()) {
        if (!offered.contains(" " + encoder.name + " "))
            continue;
        ++known;
        const std::string help = ProcessRunner::run(ffmpeg, {"-hide_banner", "-h", "encoder=" + encoder.name});
        for (std::size_t i = 0; i < encoder.options.size(); i += 2)
            EXPECT_THAT(help, testing::HasSubstr("\n  " + encoder.options[i] + " ")) << encoder.name;
    }
    if (known == 0)
        GTEST_SKIP() << "this ffmpeg offers no hardware encoder";
}

} // namespace

} // namespace orvo::test
