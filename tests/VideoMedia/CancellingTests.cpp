#include "TestSupport/Media.h"
#include "TestSupport/TemporaryFolder.h"
#include "VideoCore/Error.h"
#include "VideoMedia/FfprobeMediaProbe.h"
#include "VideoMedia/OverlayImage.h"
#include "VideoMedia/ProcessRunner.h"
#include "VideoMedia/StreamedFilm.h"
#include "VideoMedia/VideoEncoder.h"

#include <gtest/gtest.h>

namespace orvo::test {

namespace {

/// These operations turn a failure of their program into a result, or try an alternative.
TEST(Cancelling, PassesThroughOperationsThatHandleFailures)
{
    const TemporaryFolder folder;
    const auto movie = folder / "movie.mp4";
    makeVideo(movie, "testsrc2=size=64x36:rate=10:duration=1");
    const auto ffmpeg = ProcessRunner::ffmpeg().value();
    const std::stop_source source;
    source.request_stop();
    const auto stop = source.get_token();
    const VideoEncoder::Task task{.size = {.width = 64, .height = 36},
        .fps = 11,
        .arguments = [](const VideoEncoder& encoder) { return encoder.plainArguments(100'000); }};
    bool isTriedAgain = false;

    EXPECT_THROW(ProcessRunner::succeeds("/bin/true", {}, stop), Cancelled);
    EXPECT_THROW(FfprobeMediaProbe().facts(movie, stop), Cancelled);
    EXPECT_THROW(OverlayImage::isDecodable(ffmpeg, movie, stop), Cancelled);
    EXPECT_THROW(
        StreamedFilm::copiesInto({.width = 64, .height = 36}, 10, movie, ffmpeg, folder / "scratch", stop), Cancelled);
    EXPECT_THROW(encodeWithBest(ffmpeg, task,
                     [&, runs = 0](const VideoEncoder&) mutable {
                         isTriedAgain = ++runs > 1;
                         throw Cancelled();
                     }),
        Cancelled);
    EXPECT_FALSE(isTriedAgain);
}

} // namespace

} // namespace orvo::test
