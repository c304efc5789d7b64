#include "OrvoVideo/model/OpenProject.h"
#include "TestSupport/TemporaryFolder.h"

#include <QSignalSpy>
#include <gtest/gtest.h>
#include <stdexcept>
#include <vector>

namespace orvo::test {
namespace {

/// A project of ten seconds, open without anything that saves or plays it.
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

TEST_F(OpenProjectTests, ADragIsOneStep)
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

    // What comes into the middle of one is a step of its own, and so is what follows: an undo, a change from outside.
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

TEST_F(OpenProjectTests, KeepsTheHistoryThatAChangeFromOutsideLeaves)
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
    EXPECT_EQ(project->updatedAt, date) << "only edits are dated";
}

TEST_F(OpenProjectTests, SaysHowSoonAChangeHasToBeSaved)
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
    EXPECT_EQ(project->title, "shown") << "what another program wrote is a step";
}

TEST_F(OpenProjectTests, OpensUnsavedEditsOneStepAhead)
{
    auto document = VideoProject::make("document");
    auto unsaved = document;
    unsaved.title = "unsaved";
    EXPECT_TRUE(project.open(document, unsaved));
    EXPECT_EQ(project->title, "unsaved");
    project.undo();
    EXPECT_EQ(project->title, "document");
    EXPECT_FALSE(project.open(document, document));
    EXPECT_FALSE(project.canUndo());
}

TEST_F(OpenProjectTests, ChangesNothingWhileLocked)
{
    setTitle("edited");
    project.setLocked(true);
    setTitle("x");
    project.undo();
    EXPECT_EQ(project->title, "edited");
    EXPECT_FALSE(project.canUndo());
    project.setLocked(false);
    project.undo();
    EXPECT_EQ(project->title, "Demo");
}

TEST_F(OpenProjectTests, StaysAsItWasWhenAChangeFails)
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
    EXPECT_TRUE(project.canUndo()) << "a change of nothing is a step";
    EXPECT_EQ(changes.size(), 1);
}

} // namespace
} // namespace orvo::test
