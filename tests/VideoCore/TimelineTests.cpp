#include "VideoCore/Timeline.h"

#include "TestSupport/Golden.h"
#include "TestSupport/Projects.h"

#include <gmock/gmock.h>

namespace orvo {
namespace {

using test::emptyProject;
using test::fullProject;
using test::matchesGolden;
using testing::ElementsAre;
using Timeline::SubtitleFormat;

TEST(Timeline, subtitlesOfAProject)
{
    EXPECT_TRUE(matchesGolden("full.vtt", subtitles(fullProject(), SubtitleFormat::webVtt)));
    EXPECT_TRUE(matchesGolden("full.srt", subtitles(fullProject(), SubtitleFormat::subRip)));
}

} // namespace
} // namespace orvo
