#include "CliFixture.h"

#include <chrono>
#include <gmock/gmock.h>
#include <sstream>

namespace orvo::test {

namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class Output : public CliFixture {
protected:
    /// Two more projects, one newer and one older than the first.
    Output()
    {
        VideoProject newer = emptyProject(3723.4);
        newer.id = fixedId(2);
        newer.title = "日本語とñandú";
        newer.createdAt = project.createdAt + 1s;
        newer.state = "needs-recovery";
        store.create(newer);
        VideoProject older = emptyProject(5);
        older.id = fixedId(3);
        older.title = "Borrar\x1b[2Jpantalla\ny\ttabulador \u202Eoculto";
        older.createdAt = project.createdAt - 1s;
        older.edit.cuts = {{1, 3}};
        store.create(older);
    }
};

std::vector<std::string> lines(const std::string& text)
{
    std::vector<std::string> result;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        result.push_back(line);
    return result;
}

TEST_F(Output, ListsNewestFirstAsJson)
{
    const JsonAnswer list = answer({"list"});
    ASSERT_EQ(list.size(), 3);
    EXPECT_EQ(list[0]["id"].text(), fixedId(2).text());
    EXPECT_EQ(list[1]["id"].text(), id);
    EXPECT_EQ(list[2]["id"].text(), fixedId(3).text());
    EXPECT_EQ(list[0]["title"].text(), "日本語とñandú");
    EXPECT_EQ(list[0]["state"].text(), "needs-recovery");
    EXPECT_EQ(list[0]["duration"].number(), 3723.4);
    EXPECT_EQ(list[2]["playableDuration"].number(), 3);
}

TEST_F(Output, SortsListsAsRequested)
{
    const auto first = [&](const std::string& order) { return answer({"list", "--sort", order})[0]["id"].text(); };
    EXPECT_EQ(first("created"), fixedId(2).text());
    EXPECT_EQ(first("duration"), fixedId(2).text());
    VideoProject accented = emptyProject(5);
    accented.id = fixedId(4);
    accented.title = "Ábaco";
    accented.updatedAt = now() + std::chrono::hours(1);
    store.create(accented);
    EXPECT_EQ(first("title"), accented.id.text());
    EXPECT_EQ(first("updated"), accented.id.text());
    // The identifier breaks ties within a second.
    accented.createdAt = project.createdAt + std::chrono::milliseconds(700);
    store.save(accented);
    const JsonAnswer list = answer({"list", "--sort", "created"});
    EXPECT_EQ(list[1]["id"].text(), id);
    EXPECT_EQ(list[2]["id"].text(), accented.id.text());
}

TEST_F(Output, AlignsAndSanitisesLists)
{
    const Outcome outcome = orvo({"list"});
    const auto rows = lines(outcome.out);
    ASSERT_EQ(rows.size(), 4);
    EXPECT_THAT(rows[1], HasSubstr("1:02:03"));
    EXPECT_THAT(rows[1], HasSubstr("Por recuperar"));
    EXPECT_THAT(outcome.out, Not(HasSubstr("\x1b"))) << "no colours, and no control sequences from titles";
    EXPECT_THAT(outcome.out, Not(HasSubstr("\u202E")));
    EXPECT_THAT(rows[3], HasSubstr("Borrar [2Jpantalla y tabulador"));
    // The last column is aligned in every row, although wide characters take two columns and more bytes.
    const auto columnOf = [](const std::string& row, const std::string& what) {
        const std::string before = row.substr(0, row.find(what));
        std::size_t columns = 0;
        for (std::size_t i = 0; i < before.size(); ++i) {
            const auto byte = static_cast<unsigned char>(before[i]);
            columns += byte >= 0xE3 ? 2U : (byte & 0xC0) == 0x80 ? 0U : 1U;
        }
        return columns;
    };
    const std::size_t column = columnOf(rows[0], "Estado");
    EXPECT_EQ(columnOf(rows[1], "Por recuperar"), column);
    EXPECT_EQ(columnOf(rows[2], "Listo"), column);
    EXPECT_EQ(columnOf(rows[3], "Listo"), column);
}

TEST_F(Output, UsesColoursOnlyOnATerminal)
{
    setup.outputTerminal = true;
    EXPECT_THAT(orvo({"list"}).out, HasSubstr("\x1b["));
    setup.environment = {{"NO_COLOR", "1"}};
    EXPECT_THAT(orvo({"list"}).out, Not(HasSubstr("\x1b[")));
    setup.environment = {{"TERM", "dumb"}};
    EXPECT_THAT(orvo({"list"}).out, Not(HasSubstr("\x1b[")));

    // Long titles are shortened on a terminal.
    setup.environment = {};
    VideoProject longTitle = emptyProject(5);
    longTitle.id = fixedId(4);
    longTitle.title = std::string(200, 'x');
    store.create(longTitle);
    const std::string shortened = orvo({"list"}).out;
    EXPECT_THAT(shortened, Not(HasSubstr(std::string(50, 'x'))));
    EXPECT_THAT(shortened, HasSubstr("…"));
    setup.outputTerminal = false;
    EXPECT_THAT(orvo({"list"}).out, HasSubstr(longTitle.title));
}

TEST_F(Output, ShowsTheStoredDocument)
{
    VideoProject full = fullProject();
    store.create(full);
    const Outcome outcome = orvo({"show", full.id.text(), "--json"});
    EXPECT_EQ(outcome.out, readFile(store.directory(full.id) / "project.json"));

    const std::string shown = orvo({"show", full.id.text()}).out;
    EXPECT_THAT(shown, HasSubstr(full.title));
    EXPECT_THAT(shown, HasSubstr(full.publication->url));
    for (const auto& overlay : full.edit.overlays)
        EXPECT_THAT(shown, HasSubstr(overlay.id.text().substr(0, 35)));
}

TEST_F(Output, ShortensLongLists)
{
    project.duration = 1000;
    std::vector<TimeSpan> cuts;
    for (int i = 0; i < 300; ++i)
        cuts.push_back({i * 3.0, i * 3.0 + 1});
    project.edit.cuts = SharedList(cuts);
    store.save(project);
    const std::string calm = orvo({"show", id}).out;
    EXPECT_THAT(calm, HasSubstr("0:03.000 → 0:04.000"));
    EXPECT_THAT(calm, HasSubstr("288 más (--all)"));
    EXPECT_THAT(calm, Not(HasSubstr("14:57.000")));
    EXPECT_THAT(orvo({"show", id, "--all"}).out, HasSubstr("14:57.000 → 14:58.000"));
}

TEST_F(Output, EndsQuietlyWhenTheReaderLeaves)
{
    // More than a pipe holds, so that the program is still writing when the reader leaves.
    std::vector<TranscriptWord> words;
    for (int i = 0; i < 20'000; ++i)
        words.push_back(word("palabra", i * 0.0001, i * 0.0001 + 0.00005));
    project.edit.words = SharedList(words);
    store.save(project);
    Program program({"show", id, "--json"}, setup);
    program.stopReading();
    const Outcome outcome = program.end();
    EXPECT_EQ(outcome.status, 128 + SIGPIPE);
    EXPECT_THAT(outcome.err, IsEmpty());
}

TEST_F(Output, FailsWhenTheAnswerCannotBeWritten)
{
    setup.outputFile = "/dev/full";
    expectFailure({"list"}, 1, "orvo: No se puede escribir la respuesta: no queda espacio en el disco.\n");
}

} // namespace

} // namespace orvo::test
