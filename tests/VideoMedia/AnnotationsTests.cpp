#include "TestSupport/Golden.h"
#include "TestSupport/Projects.h"
#include "VideoMedia/ExportService.h"

#include <gmock/gmock.h>
#include <sstream>

namespace orvo::test {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// The event lines of a document, each as its layer, start, end and text: "1 0:00:04.00 0:00:04.15 {…}…".
std::vector<std::string> events(const VideoProject& project, std::int64_t width = 1920, std::int64_t height = 1080)
{
    std::istringstream lines(ExportService::annotations(project, width, height));
    std::vector<std::string> found;
    for (std::string line; std::getline(lines, line);) {
        if (!line.starts_with("Dialogue: "))
            continue;
        std::istringstream fields(line.substr(10));
        std::string layer;
        std::string start;
        std::string end;
        std::string text;
        std::getline(fields, layer, ',');
        std::getline(fields, start, ',');
        std::getline(fields, end, ',');
        std::getline(fields, text);
        found.push_back(layer + " " + start + " " + end + " " + text.substr(std::string("Default,,0,0,0,,").size()));
    }
    return found;
}

std::vector<std::string> times(const VideoProject& project)
{
    auto found = events(project);
    for (auto& line : found)
        line = line.substr(0, line.find('{') - 1);
    return found;
}

TEST(Annotations, MatchesTheGoldenDocument)
{
    auto project = emptyProject(10);
    project.edit.events = {pointer(PointerKind::move, 1, 0.25, 0.5), pointer(PointerKind::zoom, 1.5, 0.1, 0.1),
        pointer(PointerKind::click, 2, 0.5, 0.5), pointer(PointerKind::move, 9.9, 1.5, -0.25)};
    project.edit.overlays = {{.content = "Título", .start = 1, .end = 12, .x = 0.1, .y = 0.2},
        {.kind = Overlay::Kind::image, .content = "media/x.png"}};
    EXPECT_TRUE(matchesGolden("annotations.ass", ExportService::annotations(project, 1920, 1080)));
}

TEST(Annotations, HoldsThePointerUntilTheNextEventInTime)
{
    auto project = emptyProject(10);
    project.edit.pointerHighlight = false;
    project.edit.clickHalo = false;
    project.edit.events = {pointer(PointerKind::move, 4)};
    EXPECT_THAT(times(project), ElementsAre("1 0:00:04.00 0:00:04.15"));

    project.edit.events = {pointer(PointerKind::click, 5), pointer(PointerKind::zoom, 4.5), pointer(PointerKind::move, 4),
        pointer(PointerKind::move, 5), pointer(PointerKind::move, 9.95)};
    EXPECT_THAT(
        times(project), ElementsAre("1 0:00:04.00 0:00:05.00", "1 0:00:05.00 0:00:09.94", "1 0:00:09.94 0:00:10.00"));

    project.edit.pointerHighlight = true;
    EXPECT_EQ(times(project).front(), "0 0:00:04.00 0:00:05.00") << "the highlight comes before its arrow";
}

TEST(Annotations, EndsHalosWithTheRecordingInDocumentOrder)
{
    auto project = emptyProject(10);
    project.edit.pointerHighlight = false;
    project.edit.events = {pointer(PointerKind::click, 9.8), pointer(PointerKind::click, 1)};
    EXPECT_THAT(times(project),
        ElementsAre(
            "1 0:00:01.00 0:00:09.80", "1 0:00:09.80 0:00:09.95", "2 0:00:09.80 0:00:10.00", "2 0:00:01.00 0:00:01.50"));
}

TEST(Annotations, TruncatesTimesToHundredthsAndClampsThemToZero)
{
    auto project = emptyProject(100'000);
    const std::tuple<double, double, std::string> cases[] = {
        {61.257, 3725.5, "3 0:01:01.25 1:02:05.50"},
        {-3, 0.019, "3 0:00:00.00 0:00:00.01"},
        {36'000, 200'000, "3 10:00:00.00 27:46:40.00"},
    };
    for (const auto& [start, end, expected] : cases) {
        project.edit.overlays = {{.content = "x", .start = start, .end = end}};
        EXPECT_THAT(times(project), ElementsAre(expected));
    }
    project.edit.overlays = {{.content = "x", .start = 3, .end = 3}, {.content = "x", .start = 5, .end = 4}};
    EXPECT_THAT(times(project), IsEmpty());
}

TEST(Annotations, EscapesTextsOntoOneLine)
{
    auto project = emptyProject(10);
    const std::pair<std::string, std::string> cases[] = {
        {"{\\b1}", "\\{\\\u2060b1\\}"},
        {"C:\\new\\temp", "C:\\\u2060new\\\u2060temp"},
        {"  dos  y\n\ttres", "\\h\\hdos  y\\N\\htres"},
        {"uno\ndos", "uno\\Ndos"},
        {"uno\r\ndos\rtres", "uno\\Ndos\\Ntres"},
        {"a,b,c", "a,b,c"},
        {std::string("a\0b", 3), "ab"},
    };
    for (const auto& [content, text] : cases) {
        project.edit.overlays = {{.content = content, .start = 0, .end = 5, .x = 0.5, .y = 0}};
        EXPECT_THAT(events(project, 1281, 720), ElementsAre("3 0:00:00.00 0:00:05.00 {\\pos(640,0)}" + text));
    }
}

} // namespace

} // namespace orvo::test
