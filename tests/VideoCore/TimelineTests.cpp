#include "VideoCore/Timeline.h"

#include "TestSupport/Golden.h"
#include "TestSupport/Projects.h"

#include <cmath>
#include <format>
#include <gmock/gmock.h>
#include <limits>

namespace orvo {
namespace {

using test::emptyProject;
using test::fullProject;
using test::matchesGolden;
using test::word;
using testing::ElementsAreArray;
using Timeline::SubtitleFormat;
using Spans = std::vector<TimeSpan>;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

TEST(Timeline, MergesCutsAndKeepsTheRest)
{
    struct Case {
        double duration;
        Spans cuts;
        Spans merged;
        Spans kept;
    };
    const Case cases[]{
        {10, {}, {}, {{0, 10}}},
        {0, {}, {}, {}},
        {-1, {{-5, 5}}, {}, {}},
        {10, {{3, 5}, {1, 2}, {2, 3}}, {{1, 5}}, {{0, 1}, {5, 10}}},
        {10, {{-2, 1}, {9, 15}}, {{0, 1}, {9, 10}}, {{1, 9}}},
        {10, {{0, 2}, {8, 10}}, {{0, 2}, {8, 10}}, {{2, 8}}},
        {10, {{4, 4}, {6, 5}}, {}, {{0, 10}}},
        {10, {{1, infinity}, {-infinity, 2}, {notANumber, 3}, {3, notANumber}}, {}, {{0, 10}}},
        {10, {{12, 15}, {-3, -1}, {10, 11}, {-1, 0}}, {}, {{0, 10}}},
        {10, {{2, 8}, {3, 4}, {2, 5}}, {{2, 8}}, {{0, 2}, {8, 10}}},
        {10, {{2, 4}, {3, 6}}, {{2, 6}}, {{0, 2}, {6, 10}}},
        {10, {{-1, 11}}, {{0, 10}}, {}},
        {10, {{0, 5}, {5, 10}}, {{0, 10}}, {}},
        {10, {{5, 6}, {std::nextafter(6, 7), 7}}, {{5, 6}, {std::nextafter(6, 7), 7}},
            {{0, 5}, {6, std::nextafter(6, 7)}, {7, 10}}},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        SCOPED_TRACE(std::format("case {}", i));
        EXPECT_THAT(Timeline::merged(cases[i].cuts, cases[i].duration), ElementsAreArray(cases[i].merged));
        EXPECT_THAT(Timeline::kept(cases[i].duration, cases[i].cuts), ElementsAreArray(cases[i].kept));
        auto project = emptyProject(cases[i].duration);
        project.edit.cuts = SharedList(cases[i].cuts);
        double sum = 0;
        for (const auto& span : cases[i].kept)
            sum += span.end - span.start;
        EXPECT_EQ(project.playableDuration(), sum);
    }
}

TEST(Timeline, WritesStamps)
{
    struct Case {
        double seconds;
        std::string_view stamp;
    };
    const Case cases[]{{0, "00:00:00.000"}, {3661.25, "01:01:01.250"}, {65.25, "00:01:05.250"}, {0.0004, "00:00:00.000"},
        {0.0005, "00:00:00.001"}, {0.9996, "00:00:01.000"}, {59.9999, "00:01:00.000"}, {3599.9995, "01:00:00.000"},
        {-1, "00:00:00.000"}, {-0.0, "00:00:00.000"}, {360000, "100:00:00.000"}, {notANumber, "00:00:00.000"},
        {-infinity, "00:00:00.000"}, {1e300, "2562047788015:12:55.807"}, {infinity, "2562047788015:12:55.807"}};
    for (const auto& [seconds, stamp] : cases) {
        EXPECT_EQ(Timeline::stamp(seconds, SubtitleFormat::webVtt), stamp) << seconds;
        std::string withComma(stamp);
        withComma[stamp.size() - 4] = ',';
        EXPECT_EQ(Timeline::stamp(seconds, SubtitleFormat::subRip), withComma) << seconds;
    }
}

TEST(Timeline, WritesSubtitles)
{
    EXPECT_TRUE(matchesGolden("full.vtt", subtitles(fullProject(), SubtitleFormat::webVtt)));
    EXPECT_TRUE(matchesGolden("full.srt", subtitles(fullProject(), SubtitleFormat::subRip)));
    EXPECT_EQ(subtitles(emptyProject(), SubtitleFormat::webVtt), "WEBVTT\n\n");
    EXPECT_EQ(subtitles(emptyProject(), SubtitleFormat::subRip), "\n");

    auto project = emptyProject();
    const auto cueOf = [&](std::string text) {
        project.edit.words = {word(std::move(text), 1, 2)};
        const auto file = subtitles(project, SubtitleFormat::webVtt);
        const auto begin = file.find("00:00:02.000\n") + 13;
        return file.substr(begin, file.size() - begin - 2);
    };
    struct Case {
        std::string_view text;
        std::string_view cue;
    };
    const Case cases[]{{"a-->b <c>", "a→b &lt;c&gt;"}, {"-->-->", "→→"}, {"--->", "-→"}, {"-->>", "→&gt;"},
        {"--\n>", "-- &gt;"}, {"&lt;", "&amp;lt;"}, {"uno\ndos", "uno dos"}, {"uno\r\ndos", "uno dos"},
        {"uno\rdos\n", "uno dos "}, {"\n\n1\n", "  1 "}, {"", ""}, {"¿Qué?", "¿Qué?"}, {"--", "--"}, {"-", "-"}};
    for (const auto& [text, cue] : cases)
        EXPECT_EQ(cueOf(std::string(text)), cue) << text;
}

// Laws, checked with random cuts against literal definitions.

Spans randomSpans(std::mt19937_64& random, double duration)
{
    Spans spans(random() % 12);
    for (auto& span : spans) {
        // Quarters, so that spans often touch, nest and exceed the ends.
        const auto time = [&] { return std::round(std::uniform_real_distribution(-2.0, duration + 2)(random) * 4) / 4; };
        span = {time(), time()};
    }
    return spans;
}

std::optional<double> plainOutputTime(double time, const Spans& kept, double duration)
{
    double total = 0;
    for (const auto& span : kept) {
        if (span.start <= time && time < span.end)
            return time - span.start + total;
        total += span.duration();
    }
    return time == duration ? std::optional(total) : std::nullopt;
}

TEST(Timeline, ObeysItsLaws)
{
    std::mt19937_64 random(42);
    for (const double time : {-0.001, infinity, notANumber})
        EXPECT_EQ(Timeline::outputTime(time, Spans{{2, 4}}, 10), std::nullopt) << time;
    for (int round = 0; round < 2000; ++round) {
        SCOPED_TRACE(std::format("round {}", round));
        const double duration = static_cast<double>(random() % 80) / 4;
        const Spans cuts = randomSpans(random, duration);
        const Spans merged = Timeline::merged(cuts, duration);
        const Spans kept = Timeline::kept(duration, cuts);

        EXPECT_EQ(Timeline::merged(merged, duration), merged);
        EXPECT_EQ(Timeline::kept(duration, merged), kept);
        for (std::size_t i = 0; i < merged.size(); ++i) {
            EXPECT_GE(merged[i].start, i == 0 ? 0 : std::nextafter(merged[i - 1].end, infinity));
            EXPECT_GT(merged[i].end, merged[i].start);
            EXPECT_LE(merged[i].end, duration);
        }

        double last = 0;
        for (double time = -1; time <= duration + 1; time += 0.125) {
            const auto output = Timeline::outputTime(time, cuts, duration);
            ASSERT_EQ(output, plainOutputTime(time, kept, duration)) << time;
            const bool cut =
                std::ranges::any_of(cuts, [&](const TimeSpan& span) { return span.start <= time && time < span.end; });
            ASSERT_EQ(output.has_value(), time == duration || (time >= 0 && time < duration && !cut)) << time;
            ASSERT_GE(output.value_or(last), last) << time;
            last = output.value_or(last);
        }
    }
}

} // namespace
} // namespace orvo
