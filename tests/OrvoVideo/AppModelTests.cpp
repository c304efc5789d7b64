#include "ModelFixture.h"

namespace orvo::test {
namespace {

using testing::IsEmpty;
using testing::SizeIs;

using AppModelTests = ModelFixture;

TEST_F(AppModelTests, StartsEmpty)
{
    start();
    EXPECT_FALSE(model->hasProject());
    EXPECT_THAT(model->projects(), IsEmpty());
    EXPECT_EQ(model->status(), "Listo para grabar");
    // These calls are ignored without an open project.
    model->undo();
    model->redo();
    model->saveSoon();
    model->flushSave();
    model->cutSelection();
    model->addText("x");
    model->play();
    model->seek(3);
    setTitle("x");
    EXPECT_FALSE(model->hasProject() || model->canUndo() || model->unsavedChanges());
    EXPECT_TRUE(model->prepareToQuit());
}

TEST_F(AppModelTests, RejectsEditsAndOpeningWhileRecording)
{
    const auto first = openNew();
    const auto second = add(VideoProject::make("second"));
    setTitle("edited");
    setPhase(Recorder::Phase::Recording);
    EXPECT_TRUE(model->isRecording());
    EXPECT_FALSE(model->isPaused() || model->canUndo());
    const auto before = project();
    setTitle("x");
    model->undo();
    model->addImage();
    model->importMedia(true);
    select(second);
    model->refreshLibrary();
    EXPECT_EQ(project(), before);
    EXPECT_EQ(panels->asked, 0);
    EXPECT_THAT(model->projects(), SizeIs(1));
    setPhase(Recorder::Phase::Paused);
    EXPECT_TRUE(model->isRecording() && model->isPaused());
    setPhase(Recorder::Phase::Idle);
    model->undo();
    EXPECT_EQ(project().title, first.title);
}

TEST_F(AppModelTests, OpensTheVersionOnDisk)
{
    auto published = VideoProject::make("old title");
    published.duration = 0.5;
    add(published);
    const auto longer = openNew(10);
    EXPECT_EQ(model->selectedSpan(), (Span{0, 1}));
    setTitle("edited");
    model->findSuggestions();
    auto onDiskNow = published;
    onDiskNow.title = "new title";
    store.save(onDiskNow);

    select(published);
    EXPECT_EQ(project().title, "new title");
    EXPECT_EQ(model->selectedSpan(), (Span{0, 0.5}));
    EXPECT_FALSE(model->canUndo());
    EXPECT_EQ(model->playhead(), 0);
    // The previous project is saved first.
    EXPECT_EQ(onDisk(longer.id).title, "edited");

    // Reopening the same project clears the history.
    setTitle("x");
    select(project());
    EXPECT_EQ(project().title, "x");
    EXPECT_FALSE(model->canUndo());
}

TEST_F(AppModelTests, OpensTheListedVersionWhenTheDocumentIsUnreadable)
{
    auto broken = VideoProject::make("broken");
    broken.duration = 3;
    add(broken);
    start();
    std::filesystem::remove(store.directory(broken.id) / "project.json");
    model->open(QString::fromStdString(broken.id.text()));
    ASSERT_TRUE(waitUntil([&] { return model->hasProject(); }));
    EXPECT_EQ(project().title, "broken");
    EXPECT_EQ(model->errorMessage(), "");
    model->open("no identifier");
}

TEST_F(AppModelTests, OpensTheLastProjectWhenCallsOverlap)
{
    const auto first = add(VideoProject::make("first"));
    const auto second = add(VideoProject::make("second"));
    start();
    const auto slow = model->select(first);
    const auto quick = model->select(second);
    ASSERT_TRUE(waitUntil([&] { return slow.isReady() && quick.isReady(); }));
    EXPECT_EQ(project().id, second.id);
    EXPECT_EQ(model->library()->openRow(), model->projects()[0].id == second.id ? 0 : 1);
}

TEST_F(AppModelTests, KeepsEditsMadeWhileAnotherProjectOpens)
{
    const auto next = add(VideoProject::make("next"));
    const auto first = openNew();
    setTitle("before");
    const auto opening = model->select(next);
    setTitle("meanwhile");
    ASSERT_TRUE(waitUntil([&] { return opening.isReady(); }));
    EXPECT_EQ(project().id, next.id);
    ASSERT_TRUE(model->prepareToQuit());
    EXPECT_EQ(onDisk(first.id).title, "meanwhile");

    // The same applies when the same project is reopened.
    select(first);
    const auto again = model->select(first);
    setTitle("once more");
    ASSERT_TRUE(waitUntil([&] { return again.isReady(); }));
    EXPECT_EQ(project().title, "once more");
}

TEST_F(AppModelTests, SavesEditsWhenQuittingDuringOtherWork)
{
    const auto next = add(VideoProject::make("next"));
    const auto first = openNew();
    setTitle("last words");
    panels->staysOpen = true;
    model->exportVideo();
    model->refreshLibrary();
    const auto opening = model->select(next);
    model->perform([](WorkControl) -> QCoro::Task<> { co_return; });
    quit();
    EXPECT_TRUE(opening.isReady());
    EXPECT_EQ(onDisk(first.id).title, "last words");
}

TEST_F(AppModelTests, ListsTheLibraryAgainWhenAnOperationFails)
{
    start();
    add(VideoProject::make("made by the failed operation"));
    model->perform([](WorkControl) -> QCoro::Task<> {
        throw captureError("El disco ha desaparecido.");
        co_return;
    });
    EXPECT_EQ(model->errorMessage(), "El disco ha desaparecido.");
    EXPECT_TRUE(waitUntil([&] { return model->library()->count() == 1; }));
}

} // namespace
} // namespace orvo::test
