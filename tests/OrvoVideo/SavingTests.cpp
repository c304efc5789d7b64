#include "ModelFixture.h"
#include "TestSupport/SmallDisk.h"
#include "VideoCore/DocumentCodec.h"
#include "VideoCore/FileIO.h"

#include <QElapsedTimer>
#include <QTimer>
#include <fstream>

namespace orvo::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class SavingTests : public ModelFixture {
protected:
    /// How often the document was replaced during `work`.
    template <typename Work> int writesDuring(Work work)
    {
        int writes = 0;
        QObject::connect(&watcher, &QFileSystemWatcher::directoryChanged, &watcher, [&] {
            const auto now = fs::last_write_time(document());
            writes += std::exchange(lastWrite, now) != now;
        });
        lastWrite = fs::last_write_time(document());
        watcher.addPath(QString::fromStdString(store.directory(project().id)));
        work();
        watcher.disconnect();
        const auto now = fs::last_write_time(document());
        return writes + (now != lastWrite);
    }

    /// Edits every few milliseconds until `done`. Retries if a busy machine causes a pause long enough for a save. Returns
    /// false at a generous limit.
    bool editWithoutPauseUntil(const std::function<bool()>& done)
    {
        for (int attempt = 0; attempt < 50; ++attempt) {
            count = 0;
            qint64 longest = 0;
            QElapsedTimer pause;
            pause.start();
            QTimer edits;
            QObject::connect(&edits, &QTimer::timeout, &edits, [&] {
                longest = std::max(longest, pause.restart());
                setTitle("edit " + std::to_string(++count));
            });
            edits.start(20);
            if (!waitUntil([&] { return longest > Saving::delay / 2 || done(); }))
                return false;
            if (done() && longest <= Saving::delay / 2)
                return true;
            if (!saved())
                return false;
        }
        return false;
    }

    fs::path document() const { return store.directory(project().id) / "project.json"; }
    fs::path unsaved() const { return store.directory(project().id) / "unsaved-edits.json"; }

    /// Changes the document as another program would.
    void changeElsewhere(const std::string& title)
    {
        auto other = onDisk();
        other.title = title;
        store.save(other);
    }

    QFileSystemWatcher watcher;
    fs::file_time_type lastWrite;
    int count = 0;
};

TEST_F(SavingTests, SavesABurstOfEditsOnceAfterItsEnd)
{
    openNew();
    ASSERT_TRUE(editWithoutPauseUntil([&] { return count >= 10; }));
    const int writes = writesDuring([&] { EXPECT_TRUE(saved()); });
    EXPECT_EQ(writes, 1);
    EXPECT_EQ(onDisk().title, project().title);
    EXPECT_EQ(writesDuring([&] {
        model->flushSave();
        EXPECT_TRUE(model->prepareToQuit());
    }),
        0);
}

TEST_F(SavingTests, RestoresABurstOfEditsAfterACrash)
{
    const auto opened = openNew();
    ASSERT_TRUE(editWithoutPauseUntil([&] { return fs::exists(unsaved()); }));
    const auto kept = decodeDocument(readFile(unsaved()));
    EXPECT_THAT(kept.title, testing::StartsWith("edit "));
    // The document itself is not written before a pause.
    const auto document = onDisk();
    EXPECT_NE(document.title, kept.title);
    ASSERT_TRUE(saved());
    EXPECT_FALSE(fs::exists(unsaved())) << "a save removes them";
    quit();

    // The files after a crash during the burst.
    store.save(document);
    std::ofstream(store.directory(opened.id) / "unsaved-edits.json") << encodeDocument(kept);
    start();
    select(opened);
    EXPECT_EQ(project().title, kept.title);
    EXPECT_EQ(model->status(), "Se han recuperado los últimos cambios, que no se habían guardado.");
    ASSERT_TRUE(saved());
    EXPECT_EQ(onDisk().title, kept.title);
    EXPECT_FALSE(fs::exists(unsaved()));
    model->undo();
    EXPECT_EQ(project().title, document.title);
}

TEST_F(SavingTests, IgnoresUnsavedEditsThatAreOldTruncatedOrOfAnotherProject)
{
    const auto opened = add(VideoProject::make("document"));
    const auto file = store.directory(opened.id) / "unsaved-edits.json";
    auto edited = opened;
    edited.title = "unsaved";
    const auto text = encodeDocument(edited);
    const auto later = fs::last_write_time(store.directory(opened.id) / "project.json") + std::chrono::seconds(5);
    const auto other = encodeDocument(VideoProject::make("another project"));
    for (const auto& [content, time] : {std::pair(text, later - std::chrono::seconds(10)),
             std::pair(text.substr(0, text.size() / 2), later), std::pair(other, later)}) {
        std::ofstream(file) << content;
        fs::last_write_time(file, time);
        start();
        select(opened);
        EXPECT_EQ(project().title, "document");
        EXPECT_FALSE(model->canUndo());
    }
}

TEST_F(SavingTests, ReportsAFailedSaveAndRetriesWithTheNext)
{
    const auto opened = openNew();
    const auto away = folder / "away";
    fs::rename(store.directory(opened.id), away);
    setTitle("first");
    ASSERT_TRUE(waitUntil([&] { return !model->errorMessage().isEmpty(); }));
    EXPECT_THAT(model->errorMessage().toStdString(), HasSubstr("No se han podido guardar los últimos cambios: «"));
    EXPECT_TRUE(model->unsavedChanges());
    EXPECT_EQ(project().title, "first");
    model->clearError();

    // Saves after undo and redo fail unreported.
    model->undo();
    model->redo();
    EXPECT_FALSE(model->prepareToQuit());
    fs::rename(away, store.directory(opened.id));
    EXPECT_TRUE(model->prepareToQuit());
    EXPECT_EQ(onDisk().title, "first");
    EXPECT_FALSE(model->unsavedChanges());
}

TEST_F(SavingTests, KeepsUnwrittenEditsAfterOpeningAnotherProject)
{
    const auto next = add(VideoProject::make("next"));
    const auto first = openNew();
    {
        const FileSizeLimit full(100);
        setTitle("not on disk");
        select(next);
        EXPECT_THAT(model->errorMessage().toStdString(), HasSubstr("No se han podido guardar los últimos cambios: "));
    }
    EXPECT_EQ(onDisk(first.id).title, first.title);
    select(first);
    EXPECT_EQ(project().title, "not on disk");
    ASSERT_TRUE(saved());
    EXPECT_EQ(onDisk().title, "not on disk");
}

TEST_F(SavingTests, ShowsAChangeByAnotherProgramAsAnUndoStep)
{
    openNew();
    setTitle("mine");
    ASSERT_TRUE(saved());
    changeElsewhere("theirs");
    ASSERT_TRUE(waitUntil([&] { return project().title == "theirs"; }));
    EXPECT_EQ(model->status(), "El proyecto ha cambiado fuera de Orvo Video y se ha vuelto a cargar.");
    EXPECT_EQ(model->errorMessage(), "");
    EXPECT_EQ(model->projects()[0].title, "theirs");
    model->undo();
    EXPECT_EQ(project().title, "mine");
    ASSERT_TRUE(saved());
    EXPECT_EQ(onDisk().title, "mine");
    EXPECT_EQ(model->errorMessage(), "");

    // Another program may also write in place.
    auto other = onDisk();
    other.title = "in place";
    std::ofstream(document(), std::ios::trunc) << encodeDocument(other);
    EXPECT_TRUE(waitUntil([&] { return project().title == "in place"; }));
}

TEST_F(SavingTests, EndsADragAtAForeignChangeAndAtAnotherProject)
{
    openNew();
    model->setGesture(true);
    setTitle("dragged");
    ASSERT_TRUE(saved());
    changeElsewhere("theirs");
    ASSERT_TRUE(waitUntil([&] { return project().title == "theirs"; }));
    setTitle("dragged on");
    model->undo();
    EXPECT_EQ(project().title, "theirs");
    model->undo();
    EXPECT_EQ(project().title, "dragged");

    setTitle("dragged again");
    const auto next = add(VideoProject::make("next"));
    select(next);
    setTitle("edited");
    ASSERT_TRUE(model->canUndo());
    model->undo();
    EXPECT_EQ(project().title, "next");
}

TEST_F(SavingTests, UpdatesUntouchedFieldsAfterAChangeByAnotherProgram)
{
    openNew(10);
    const auto publishElsewhere = [&](const std::string& domain) {
        auto other = onDisk();
        other.publication =
            Publication{.videoID = "a", .url = "https://v.es/watch/a", .domains = {domain}, .publicLink = true};
        other.duration = 4;
        store.save(other);
        return waitUntil([&] { return project().publication && project().publication->domains.front() == domain; });
    };
    model->setSelectedSpan({2, 9});
    ASSERT_TRUE(publishElsewhere("uno.es"));
    EXPECT_EQ(model->publishing()->domainText(), "uno.es");
    EXPECT_TRUE(model->publishing()->publicLink());
    EXPECT_EQ(model->selectedSpan(), (Span{2, 4}));
    model->publishing()->setDomainText("uno.es, tecleado.es");
    ASSERT_TRUE(publishElsewhere("dos.es"));
    EXPECT_EQ(model->publishing()->domainText(), "uno.es, tecleado.es");
}

TEST_F(SavingTests, KeepsAForeignChangeInAnotherFileDuringEdits)
{
    openNew();
    setTitle("mine");
    changeElsewhere("theirs");
    ASSERT_TRUE(saved());
    ASSERT_TRUE(waitUntil([&] { return !model->errorMessage().isEmpty(); }));
    EXPECT_THAT(model->errorMessage().toStdString(), HasSubstr("«project-1.json»"));
    EXPECT_EQ(project().title, "mine");
    EXPECT_EQ(onDisk().title, "mine");
    EXPECT_EQ(decodeDocument(readFile(store.directory(project().id) / "project-1.json")).title, "theirs");

    // A new time stamp alone is no change.
    model->clearError();
    fs::last_write_time(document(), fs::file_time_type::clock::now());
    const auto before = project();
    const auto next = add(VideoProject::make("next"));
    select(next);
    select(before);
    EXPECT_EQ(model->errorMessage(), "");
}

} // namespace
} // namespace orvo::test
