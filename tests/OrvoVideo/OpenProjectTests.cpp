#include "OrvoVideo/model/OpenProject.h"
#include "TestSupport/TemporaryFolder.h"

#include <QSignalSpy>
#include <gtest/gtest.h>
#include <stdexcept>
#include <vector>

namespace orvo::test {
namespace {

/// An open project of ten seconds, without saving or playback.
class OpenProjectTests : public testing::Test {
protected:
    OpenProjectTests()
    {
        auto opened = VideoProject::make("Demo");
        opened.duration = 10;
        project.open(std::move(opened), std::nullopt);
        QObject::connect(
            &project, &OpenProject::edited, &project, [this](OpenProject::Save save) { saves.push_back(save); });
    }

    void setTitle(const std::string& title)
    {
        project.update([&](VideoProject& edited) { edited.title = title; });
    }
    void setCamera(double x)
    {
        project.update([&](VideoProject& edited) { edited.edit.cameraX = x; });
    }

    TemporaryFolder folder;
    ProjectStore store{folder / "library"};
    OpenProject project{store};
    std::vector<OpenProject::Save> saves;
};

TEST_F(OpenProjectTests, RecordsADragAsOneStep)
{
    setTitle("before");
    project.setGesture(true);
    for (const double value : {0.1, 0.2, 0.3})
        setCamera(value);
    project.setGesture(false);
    setCamera(0.4);
    project.undo();
    EXPECT_EQ(project->edit.cameraX, 0.3);
    project.undo();
    EXPECT_EQ(project->edit.cameraX, EditState().cameraX);
    EXPECT_EQ(project->title, "before");
    project.redo();
    EXPECT_EQ(project->edit.cameraX, 0.3);

    // An undo or another change during a drag ends its step; the rest of the drag is a new step.
    project.setGesture(true);
    setCamera(0.5);
    project.undo();
    setCamera(0.6);
    project.updateApart([](VideoProject& edited) { edited.title = "apart"; });
    setCamera(0.7);
    project.change([](VideoProject& edited) { edited.title = "changed"; }, OpenProject::Undo::step);
    setCamera(0.8);
    project.setGesture(false);
    for (const double value : {0.7, 0.7, 0.6, 0.6, 0.3}) {
        project.undo();
        EXPECT_EQ(project->edit.cameraX, value);
    }
}

TEST_F(OpenProjectTests, KeepsOrClearsTheHistoryAfterAChangeFromOutside)
{
    const auto rename = [](VideoProject& edited) { edited.title = "changed"; };
    const auto date = project->updatedAt;
    setTitle("edited");
    project.change(rename, OpenProject::Undo::step);
    project.undo();
    EXPECT_EQ(project->title, "edited");
    project.change(rename, OpenProject::Undo::same);
    project.undo();
    EXPECT_EQ(project->title, "Demo");
    project.change(rename, OpenProject::Undo::none);
    EXPECT_FALSE(project.canUndo() || project.canRedo());
    EXPECT_EQ(project->updatedAt, date) << "only edits change the date";
}

TEST_F(OpenProjectTests, ReportsHowSoonToSaveAChange)
{
    setTitle("edited");
    project.undo();
    project.change([](VideoProject&) { }, OpenProject::Undo::none);
    auto version = *project;
    version.title = "shown";
    project.show(version);
    version.title = "by another program";
    project.takeOver(version);
    using enum OpenProject::Save;
    EXPECT_EQ(saves, (std::vector{soon, nowIgnoringErrors, now}));
    project.undo();
    EXPECT_EQ(project->title, "shown") << "a foreign change is a step";
}

TEST_F(OpenProjectTests, WalksTheNamedSteps)
{
    setTitle("edited");
    setCamera(0.1);
    project.update([](VideoProject& edited) { edited.edit.sharpen = true; });
    EXPECT_EQ(project.undoName(), "poner nitidez suave");
    project.goToStep(1);
    EXPECT_EQ(project->edit.cameraX, EditState().cameraX);
    EXPECT_EQ(project->title, "edited");
    EXPECT_EQ(project.undoName(), "cambiar el título");
    EXPECT_EQ(project.redoName(), "mover la cámara");
    project.goToStep(4); // No such step.
    project.goToStep(-1);
    EXPECT_EQ(project.steps().position(), 1);
    const QSignalSpy changes(&project, &OpenProject::projectChanged);
    project.goToStep(3);
    EXPECT_TRUE(project->edit.sharpen);
    EXPECT_EQ(changes.size(), 1) << "the intermediate versions are not shown";
    project.goToStep(0);
    setTitle("anew");
    EXPECT_EQ(project.steps().count(), 2) << "the undone steps are discarded";

    // A drag is named after its total change; a drag that ends at its start keeps its name.
    project.setGesture(true);
    setCamera(0.3);
    setCamera(EditState().cameraX);
    project.setGesture(false);
    EXPECT_EQ(project.undoName(), "mover la cámara");
    project.change([](VideoProject& edited) { edited.state = "ready?"; }, OpenProject::Undo::same);
    EXPECT_EQ(project.undoName(), "mover la cámara");
}

TEST_F(OpenProjectTests, KeepsTheHistoryOfEveryProjectOfTheSession)
{
    const auto onDisk = [](VideoProject version) {
        version.updatedAt = std::chrono::floor<std::chrono::seconds>(version.updatedAt);
        return version;
    };
    const auto other = VideoProject::make("Otro");
    setTitle("edited");
    setCamera(0.1);
    project.undo();
    auto left = *project;
    project.open(other, std::nullopt);
    EXPECT_FALSE(project.canUndo() || project.canRedo());
    setTitle("Otro más");
    const auto otherLeft = *project;
    project.open(onDisk(left), std::nullopt);
    EXPECT_EQ(project.redoName(), "mover la cámara");
    project.undo();
    EXPECT_EQ(project->title, "Demo");

    // This program changes the closed project.
    project.open(onDisk(otherLeft), std::nullopt);
    EXPECT_TRUE(project.canUndo());
    left.title = "Demo";
    auto published = left;
    published.publication = Publication{.videoID = "a", .url = {}, .domains = {}};
    project.followClosed(onDisk(left), published, OpenProject::Undo::step);
    project.open(published, std::nullopt);
    EXPECT_EQ(project.undoName(), "publicar");

    // Another program changes the closed project.
    project.open(onDisk(otherLeft), std::nullopt);
    published.title = "by another program";
    project.open(published, std::nullopt);
    EXPECT_FALSE(project.canUndo() || project.canRedo());
}

TEST_F(OpenProjectTests, LimitsTheKeptHistories)
{
    KeptHistories kept;
    std::vector<VideoProject> versions;
    for (std::size_t i = 0; i <= KeptHistories::maxProjects; ++i) {
        History history;
        const auto after = VideoProject::make("a");
        history.record(VideoProject(*project), after);
        kept.keep(after, std::move(history));
        versions.push_back(after);
    }
    EXPECT_FALSE(kept.take(versions.front()));
    EXPECT_TRUE(kept.take(versions.back()));
    EXPECT_FALSE(kept.take(versions.back())) << "a history is taken only once";

    History large;
    auto before = VideoProject::make("b");
    before.edit.events = SharedList(std::vector(KeptHistories::maxBytes / sizeof(PointerEvent) + 1, PointerEvent()));
    large.record(before, versions[1]);
    kept.keep(versions[1], std::move(large));
    EXPECT_FALSE(kept.take(versions[1]));
    EXPECT_FALSE(kept.take(versions[2]));
}

TEST_F(OpenProjectTests, KeepsTheProjectWhenAChangeThrows)
{
    EXPECT_THROW(project.update([](VideoProject& edited) {
        edited.title = "half";
        throw std::runtime_error("no");
    }),
        std::runtime_error);
    EXPECT_EQ(project->title, "Demo");
    EXPECT_FALSE(project.canUndo());

    const QSignalSpy changes(&project, &OpenProject::projectChanged);
    project.update([](VideoProject&) { });
    EXPECT_TRUE(project.canUndo()) << "an edit without a change is a step";
    EXPECT_EQ(changes.size(), 1);
}

} // namespace
} // namespace orvo::test
