#include "OrvoVideo/model/lists/CutModel.h"
#include "OrvoVideo/model/lists/HistoryModel.h"
#include "OrvoVideo/model/lists/LibraryModel.h"
#include "OrvoVideo/model/lists/OverlayModel.h"
#include "OrvoVideo/model/lists/SuggestionModel.h"
#include "OrvoVideo/model/lists/TrackModel.h"
#include "OrvoVideo/model/lists/TranscriptModel.h"
#include "OrvoVideo/model/lists/ZoomModel.h"
#include "TestSupport/Projects.h"

#include <QAbstractItemModelTester>
#include <gmock/gmock.h>
#include <random>

namespace orvo::test {
namespace {

/// A view that follows only the announcements of the model.
class Mirror : public QObject {
public:
    explicit Mirror(RowModel& model)
        : m_model(model)
        , m_tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal)
    {
        for (int row = 0; row < model.count(); ++row)
            m_rows.append(model.get(row));
        connect(&model, &RowModel::rowsRemoved, this, [this](const QModelIndex&, int first, int last) {
            m_rows.remove(first, last - first + 1);
            announced.push_back("-" + std::to_string(first) + ".." + std::to_string(last));
        });
        connect(&model, &RowModel::rowsInserted, this, [this](const QModelIndex&, int first, int last) {
            for (int row = first; row <= last; ++row)
                m_rows.insert(row, m_model.get(row));
            announced.push_back("+" + std::to_string(first) + ".." + std::to_string(last));
        });
        connect(&model, &RowModel::rowsMoved, this, [this](const QModelIndex&, int from, int, const QModelIndex&, int to) {
            m_rows.move(from, to > from ? to - 1 : to);
            announced.push_back(std::to_string(from) + ">" + std::to_string(to > from ? to - 1 : to));
        });
        connect(&model, &RowModel::dataChanged, this, [this](const QModelIndex& first, const QModelIndex& last) {
            for (int row = first.row(); row <= last.row(); ++row)
                m_rows[row] = m_model.get(row);
            announced.push_back("*" + std::to_string(first.row()) + ".." + std::to_string(last.row()));
        });
        connect(&model, &RowModel::modelReset, this, [this] { announced.emplace_back("reset"); });
    }

    /// Whether its rows equal those of the model.
    testing::AssertionResult isRight() const
    {
        if (m_rows.size() != m_model.count())
            return testing::AssertionFailure() << m_rows.size() << " rows shown, " << m_model.count() << " in the model";
        for (int row = 0; row < m_model.count(); ++row) {
            if (m_rows[row] != m_model.get(row))
                return testing::AssertionFailure() << "row " << row << " is out of date";
        }
        return testing::AssertionSuccess();
    }

    std::vector<std::string> announced;

private:
    RowModel& m_model;
    QAbstractItemModelTester m_tester;
    QList<QVariantMap> m_rows;
};

VideoProject withWords(std::vector<TranscriptWord> words, std::vector<TimeSpan> cuts = {})
{
    auto project = emptyProject(60);
    project.edit.words = SharedList(std::move(words));
    project.edit.cuts = SharedList(std::move(cuts));
    return project;
}

std::vector<TranscriptWord> manyWords(int count)
{
    std::vector<TranscriptWord> words;
    for (int i = 0; i < count; ++i) {
        words.push_back(word("w" + std::to_string(i), i, i + 0.5));
        words.back().id = fixedId(static_cast<std::uint64_t>(i));
    }
    return words;
}

TEST(RowModelTests, AnnouncesTheSmallestChange)
{
    using Change = std::function<void(std::vector<TranscriptWord>&)>;
    const std::vector<std::tuple<const char*, Change, std::vector<std::string>>> cases{
        {"no change", [](auto&) {}, {}},
        {"one row changed", [](auto& w) { w[3].text = "otra"; }, {"*3..3"}},
        {"two separate rows changed", [](auto& w) { w[1].text = w[8].text = "otra"; }, {"*1..1", "*8..8"}},
        {"an end changed, and with it the next gap", [](auto& w) { w[4].end += 0.1; }, {"*4..5"}},
        {"one removed", [](auto& w) { w.erase(w.begin() + 9); }, {"-9..9"}},
        {"two new", [](auto& w) { w.insert(w.begin() + 2, {word("x", 1.6, 1.7), word("y", 1.8, 2)}); }, {"+2..3", "*4..4"}},
        {"first moved to last", [](auto& w) { std::rotate(w.begin(), w.begin() + 1, w.end()); }, {"0>9", "*0..0"}},
        {"last moved to first", [](auto& w) { std::rotate(w.begin(), w.end() - 1, w.end()); }, {"9>0", "*0..0"}},
        {"all removed", [](auto& w) { w.clear(); }, {"-0..9"}},
        {"all replaced", [](auto& w) { w = {word("x", 0, 1)}; }, {"-0..9", "+0..0"}},
    };
    const auto announcedAfter = [](const Change& change) {
        TranscriptModel model;
        Mirror mirror(model);
        auto words = manyWords(10);
        const auto before = withWords(words);
        model.show(&before);
        mirror.announced.clear();
        change(words);
        const auto after = withWords(words);
        model.show(&after);
        EXPECT_TRUE(mirror.isRight());
        return mirror.announced;
    };
    for (const auto& [name, change, expected] : cases)
        EXPECT_EQ(announcedAfter(change), expected) << name;

    // A reversal moves each row at most once and removes none.
    const auto announced = announcedAfter([](auto& words) { std::ranges::reverse(words); });
    EXPECT_EQ(std::ranges::count_if(announced, [](const auto& step) { return step.contains('>'); }), 9);
    EXPECT_THAT(announced, testing::Not(testing::Contains(testing::StartsWith("-"))));
}

TEST(RowModelTests, KeepsViewsCorrectThroughRandomChanges)
{
    std::mt19937_64 random(20);
    TranscriptModel transcript;
    ZoomModel zooms;
    CutModel cuts;
    OverlayModel overlays;
    TrackModel tracks;
    LibraryModel library;
    SuggestionModel suggestions;
    HistoryModel steps;
    History history;
    const std::vector<RowModel*> models{&transcript, &zooms, &cuts, &overlays, &tracks, &library, &suggestions, &steps};
    std::vector<std::unique_ptr<Mirror>> mirrors;
    for (auto* model : models)
        mirrors.push_back(std::make_unique<Mirror>(*model));

    auto project = randomProject(random);
    std::vector<VideoProject> listed;
    for (int round = 0; round < 300; ++round) {
        const auto other = randomProject(random);
        const auto before = project;
        project.edit.words = mixed(project.edit.words, other.edit.words, random);
        project.edit.events = mixed(project.edit.events, other.edit.events, random);
        project.edit.cuts = mixed(project.edit.cuts, other.edit.cuts, random);
        project.edit.overlays = mixed(project.edit.overlays, other.edit.overlays, random);
        project.tracks = mixed(project.tracks, other.tracks, random);
        if (!project.edit.words.empty())
            project.edit.words.edit().back().text += "!";
        project.id = fixedId(random() % 8);
        listed.insert(listed.begin() + static_cast<std::ptrdiff_t>(random() % (listed.size() + 1)), project);
        listed[random() % listed.size()].title += "!";
        if (listed.size() > 6)
            listed.erase(listed.begin() + static_cast<std::ptrdiff_t>(random() % listed.size()));

        transcript.show(&project);
        zooms.show(&project);
        cuts.show(&project);
        overlays.show(&project, {});
        tracks.show(&project, {});
        library.setProjects(SharedList(listed));
        listed[random() % listed.size()].title += "?";
        for (const auto& each : listed)
            library.replace(each);
        library.setOpen(listed[random() % listed.size()].id);
        history.record(before, project);
        if (const auto version = round % 3 == 0 ? history.goTo(random() % history.position(), project) : std::nullopt)
            project = *version;
        steps.show(history);
        for (const auto& mirror : mirrors)
            ASSERT_TRUE(mirror->isRight()) << "round " << round;
    }
    transcript.show(nullptr);
    tracks.show(nullptr, {});
    EXPECT_EQ(transcript.count() + tracks.count(), 0);
    for (const auto& mirror : mirrors)
        EXPECT_TRUE(mirror->isRight());
}

TEST(TranscriptModelTests, AnnouncesOnlyChangesOfCutWords)
{
    TranscriptModel model;
    auto words = manyWords(10);
    words[9].end = 60.2; // Slightly after the end of the recording.
    auto project = withWords(words);
    model.show(&project);
    Mirror mirror(model);
    const std::vector<std::pair<std::vector<TimeSpan>, std::vector<std::string>>> cases{
        {{{3, 3.5}}, {"*3..3"}}, {{{3, 3.5}, {4, 6.2}}, {"*4..5"}}, // Half of the word at 6 remains.
        {{{9, 60}}, {"*3..5", "*9..9"}}, {{{30, 60}, {9, 31}}, {}}, // The same cuts, stored differently.
    };
    for (const auto& [cuts, expected] : cases) {
        project.edit.cuts = SharedList(cuts);
        mirror.announced.clear();
        model.show(&project);
        EXPECT_EQ(mirror.announced, expected);
    }
    for (int row = 0; row < model.count(); ++row)
        EXPECT_EQ(model.get(row)["cut"].toBool(), row == 9) << row;
}

} // namespace
} // namespace orvo::test
