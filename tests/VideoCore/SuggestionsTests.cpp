#include "VideoCore/Suggestions.h"

#include "TestSupport/Projects.h"

#include <format>
#include <gmock/gmock.h>
#include <set>

namespace orvo {

// For readable failures.
void PrintTo(const EditSuggestion& suggestion, std::ostream* out)
{
    *out << std::format(
        "{} {}..{} «{}»", textOf(suggestion.kind), suggestion.span.start, suggestion.span.end, suggestion.label);
}

namespace {

using test::emptyProject;
using test::pointer;
using test::word;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr auto silence = SuggestionKind::silence;
constexpr auto filler = SuggestionKind::filler;

MATCHER_P4(proposes, kind, start, end, label, "")
{
    constexpr double close = 1e-9;
    return arg.kind == kind && std::abs(arg.span.start - start) < close && std::abs(arg.span.end - end) < close
        && arg.label == label && arg.event.has_value() == (kind == SuggestionKind::zoom);
}

std::vector<EditSuggestion> suggestionsFor(double duration, std::vector<TranscriptWord> words)
{
    auto project = emptyProject(duration);
    project.edit.words = SharedList(std::move(words));
    return Suggestions::generate(project);
}

TEST(Suggestions, CutsPausesAndFillers)
{
    EXPECT_THAT(suggestionsFor(3600, {}), IsEmpty());
    EXPECT_THAT(suggestionsFor(4, {word("uno", 0.5, 1), word("dos", 3, 3.5)}),
        ElementsAre(proposes(silence, 1.2, 2.85, "Pausa larga")));
    EXPECT_THAT(suggestionsFor(3, {word("uno", 2, 2.5)}), ElementsAre(proposes(silence, 0.2, 1.85, "Pausa larga")));
    EXPECT_THAT(suggestionsFor(2.5, {word("uno", 1.2, 1.3)}), IsEmpty()) << "the minimum is exclusive";
    EXPECT_THAT(suggestionsFor(5, {word("uno", 0, 3)}), ElementsAre(proposes(silence, 3.2, 5, "Pausa final")));
    EXPECT_THAT(suggestionsFor(10, {word("Um,", 3, 3.5), word("uno", 5, 9)}),
        ElementsAre(proposes(silence, 0.2, 2.85, "Pausa larga"), proposes(filler, 3, 3.5, "Muletilla: Um,"),
            proposes(silence, 3.7, 4.85, "Pausa larga")))
        << "a pause precedes the word after it";
    EXPECT_THAT(suggestionsFor(8, {word("dentro", 2, 3), word("larga", 0, 7), word("fin", 7.5, 8)}), IsEmpty())
        << "words are sorted, and a word inside a longer one does not end the speech";
    EXPECT_THAT(suggestionsFor(1, {word("eh", 0.5, 0.6), word("em", 0.5, 0.7)}),
        ElementsAre(proposes(filler, 0.5, 0.6, "Muletilla: eh"), proposes(filler, 0.5, 0.7, "Muletilla: em")))
        << "words with the same start keep their order";
}

TEST(Suggestions, ZoomsWhereTheAuthorClicked)
{
    auto project = emptyProject(20);
    for (const double time : {1.0, 4.0, 7.0, 12.0, 13.0})
        project.edit.events.edit().push_back(pointer(PointerKind::click, time, 0.25, 0.75));
    const auto found = Suggestions::generate(project);
    constexpr auto zoom = SuggestionKind::zoom;
    ASSERT_THAT(found,
        ElementsAre(proposes(zoom, 1, 4, "Zoom en clic"), proposes(zoom, 7, 10, "Zoom en clic"),
            proposes(zoom, 13, 16, "Zoom en clic")));

    auto expected = project.edit.events[0];
    expected.kind = PointerKind::zoom;
    expected.duration = 3;
    EXPECT_NE(found[0].event->id, expected.id);
    expected.id = found[0].event->id;
    EXPECT_EQ(found[0].event, expected);

    std::set<Uuid> ids;
    for (const auto& list : {found, Suggestions::generate(project)}) {
        for (const auto& suggestion : list)
            ids.insert({suggestion.id, suggestion.event->id});
    }
    EXPECT_EQ(ids.size(), 12U) << "every call creates new identifiers";

    project = emptyProject(10);
    project.edit.events = {pointer(PointerKind::move, 1), pointer(PointerKind::zoom, 2), pointer(PointerKind::click, 9.5)};
    const auto last = Suggestions::generate(project);
    ASSERT_THAT(last, ElementsAre(proposes(zoom, 9.5, 10, "Zoom en clic")));
    EXPECT_EQ(last[0].event->duration, 3);

    project.edit.events = {pointer(PointerKind::click, 9), pointer(PointerKind::click, 0)};
    EXPECT_EQ(Suggestions::generate(project).size(), 1U) << "events keep their stored order";
}

TEST(Suggestions, OffersOnlyUsefulSuggestions)
{
    auto project = emptyProject(60);
    project.tracks = {test::track(TrackKind::screen, "a.mov", 0, 50), test::track(TrackKind::clip, "b.mov", 50, 10)};
    project.edit.words = {word("hola", 1, 2), word("eh", 10, 10.5), word("fin", 11, 12)};
    project.edit.events = {pointer(PointerKind::click, 5), pointer(PointerKind::click, 20), pointer(PointerKind::click, 30),
        pointer(PointerKind::zoom, 31), pointer(PointerKind::click, 49.4)};
    const auto all = Suggestions::generate(project);
    const auto labels = [&] {
        std::vector<std::string> list;
        for (const auto& suggestion : Suggestions::offered(project, all))
            list.push_back(suggestion.label + " " + std::to_string(static_cast<int>(suggestion.span.start)));
        return list;
    };
    EXPECT_THAT(
        labels(), ElementsAre("Pausa larga 2", "Muletilla: eh 10", "Pausa final 12", "Zoom en clic 5", "Zoom en clic 20"))
        << "no zoom over another, and none for the click that stopped the recording";
    project.edit.cuts = {{2, 10.2}, {19, 21}, {12.2, 40}};
    EXPECT_THAT(labels(), ElementsAre("Muletilla: eh 10", "Pausa final 12")) << "only suggestions with an uncut part";
    project = Suggestions::applied(project, Suggestions::offered(project, all));
    EXPECT_THAT(labels(), testing::IsEmpty());
}

TEST(Suggestions, RecognisesFillersInAnyCaseAndPunctuation)
{
    for (const std::string_view text : {"eh", "Eh", "EH", "em", "uh", "um", "mmm", "MMM", "eh,", "¿Eh?", "¡eh!", "«Em»",
             "“um”", "(uh)", "Mmm…", "…mmm...", " eh ", "\teh\n", "\u00A0eh\u2028", "—Eh—", "-em-", "_um_", "eh\u0085"})
        EXPECT_TRUE(Suggestions::isFiller(text)) << text;
    for (const std::string_view text : {"", " ", "...", "ehm", "em-em", "e h", "m", "mm", "mmmm", "he", "eh1", "é", "éh",
             "eh€", "+eh", "ehé", "\xFF", "eh\xFF", "um um", "e,h", "ｅｈ", "ем"})
        EXPECT_FALSE(Suggestions::isFiller(text)) << text;
}

} // namespace
} // namespace orvo
