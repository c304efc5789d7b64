#include "ModelFixture.h"
#include "TestSupport/Media.h"
#include "TestSupport/SmallDisk.h"
#include "TestSupport/Waiting.h"

#include <QProcess>
#include <fstream>
#include <iterator>
#include <unistd.h>

namespace orvo::test {
namespace {

namespace fs = std::filesystem;

class LibraryTests : public ModelFixture {
protected:
    /// Lists the library again and waits for it.
    void refresh()
    {
        // A new project identifies the new listing.
        const auto marker = VideoProject::make("marker");
        store.create(marker);
        model->refreshLibrary();
        ASSERT_TRUE(waitUntil([&] { return model->library()->find(marker.id) != nullptr; }));
        fs::remove_all(store.directory(marker.id));
        ASSERT_TRUE(waitUntil([&] {
            model->refreshLibrary();
            return model->library()->find(marker.id) == nullptr;
        }));
    }

    VideoProject addRecording(const std::string& state, const std::string& session)
    {
        auto project = VideoProject::make(state);
        project.state = state;
        add(project);
        if (!session.empty())
            std::ofstream(store.directory(project.id) / "capture-session.json") << session;
        return project;
    }

    std::string listedState(const VideoProject& project) const { return model->library()->find(project.id)->state; }
};

TEST_F(LibraryTests, ListsNoProjectsWhenTheLibraryIsGone)
{
    add(VideoProject::make("x"));
    start();
    fs::rename(store.root(), folder / "gone");
    model->refreshLibrary();
    EXPECT_TRUE(waitUntil([&] { return model->library()->count() == 0; }));
    EXPECT_EQ(model->errorMessage(), "");
}

TEST_F(LibraryTests, MarksInterruptedRecordings)
{
    QProcess ended;
    ended.start("true", QStringList());
    ASSERT_TRUE(ended.waitForStarted());
    const auto gone = std::to_string(ended.processId());
    ASSERT_TRUE(ended.waitForFinished());
    QProcess running;
    running.start("sleep", {"600"});
    ASSERT_TRUE(running.waitForStarted());
    const auto alive = std::to_string(running.processId());

    struct Case {
        const char* state;
        std::string session;
        const char* expected;
    };
    const std::vector<Case> cases{
        {"recording", R"({"pid": )" + gone + "}", "needs-recovery"},
        {"recording", "", "needs-recovery"},
        {"recording", "{", "needs-recovery"},
        {"recording", R"({"pid": 0})", "needs-recovery"}, // To kill(2), 0 is the whole process group.
        {"recording-otherwise", "", "needs-recovery"},
        {"recording", R"({"pid": )" + alive + "}", "recording"},
        {"recording-tab", R"({"pid": )" + alive + R"(, "more": [1]})", "recording-tab"},
        {"recording", R"({"pid": )" + std::to_string(::getpid()) + "}", "needs-recovery"},
        {"ready", "", "ready"},
        {"recoverable", "", "recoverable"},
    };
    std::vector<VideoProject> projects;
    for (const auto& test : cases)
        projects.push_back(addRecording(test.state, test.session));
    start();
    for (std::size_t i = 0; i < cases.size(); ++i) {
        SCOPED_TRACE(cases[i].state + (" " + cases[i].session));
        EXPECT_EQ(listedState(projects[i]), cases[i].expected);
    }
    ASSERT_TRUE(model->prepareToQuit());
    for (std::size_t i = 0; i < cases.size(); ++i) {
        EXPECT_EQ(onDisk(projects[i].id).state, cases[i].expected);
        EXPECT_EQ(onDisk(projects[i].id).updatedAt, std::chrono::floor<std::chrono::seconds>(projects[i].updatedAt));
    }
    EXPECT_EQ(model->errorMessage(), "");
    running.kill();
    running.waitForFinished();
}

TEST_F(LibraryTests, TreatsItsOwnRecordingAsAliveWhileBusy)
{
    start();
    const Answer<int> end;
    model->perform([end](WorkControl) -> QCoro::Task<> { co_await end; });
    const auto recording = addRecording("recording", R"({"pid": )" + std::to_string(::getpid()) + "}");
    refresh();
    EXPECT_EQ(listedState(recording), "recording");
    end.give(1);
    refresh();
    EXPECT_EQ(listedState(recording), "needs-recovery");
}

TEST_F(LibraryTests, PreparesBrowserRecordingsOnceAndAutomatically)
{
    auto good = VideoProject::make("good");
    good.state = "processing-tab";
    good.tracks = {track(TrackKind::screen, "media/screen.webm", 0, 1)};
    add(good);
    ffmpeg({"-f", "lavfi", "-i", "testsrc2=size=64x36:rate=10:duration=1", "-c:v", "libvpx",
        store.directory(good.id) / "media/screen.webm"});
    auto bad = VideoProject::make("bad");
    bad.state = "recording-tab"; // Its process has ended.
    bad.tracks = {track(TrackKind::screen, "media/screen.webm", 0, 1)};
    add(bad);
    start();
    model->refreshLibrary();
    ASSERT_TRUE(waitUntil([&] { return !model->errorMessage().isEmpty(); }));
    EXPECT_EQ(listedState(bad), "needs-recovery") << "already when the error appears";
    ASSERT_TRUE(waitUntil([&] { return listedState(good) == "ready"; }));
    EXPECT_EQ(onDisk(good.id).tracks[0].file.substr(0, 22), "media/screen-prepared-");
    EXPECT_EQ(onDisk(bad.id).state, "needs-recovery");
    EXPECT_EQ(model->errorMessage(), "No se ha podido recuperar toda la grabación: Falta «media/screen.webm».");
    const auto files = std::distance(fs::directory_iterator(store.directory(good.id) / "media"), fs::directory_iterator());
    EXPECT_EQ(files, 2) << "prepared once";
}

TEST_F(LibraryTests, PreparesARecordingThatIsOpenedMeanwhile)
{
    const auto movie = folder / "screen.webm";
    ffmpeg({"-f", "lavfi", "-i", "testsrc2=size=64x36:rate=10:duration=1", "-c:v", "libvpx", movie});
    /// The prepared file so far; nullopt before its conversion begins.
    const auto prepared = [&](const VideoProject& recording) -> std::optional<std::string> {
        for (const auto& entry : fs::directory_iterator(store.directory(recording.id) / "media")) {
            if (entry.path().string().contains("-prepared-")) {
                std::ifstream file(entry.path());
                return std::string(std::istreambuf_iterator<char>(file), {});
            }
        }
        return std::nullopt;
    };
    struct Moment {
        const char* name;
        std::function<bool(const VideoProject&)> hasCome;
    };
    const std::vector<Moment> moments{
        {"before the conversion", [](const auto&) { return true; }},
        {"during the conversion", [&](const auto& recording) { return prepared(recording).has_value(); }},
        // ffmpeg writes the index last.
        {"after the conversion", [&](const auto& recording) { return prepared(recording).value_or("").contains("moov"); }},
    };
    for (const auto& moment : moments) {
        SCOPED_TRACE(moment.name);
        auto recording = VideoProject::make("being prepared");
        recording.state = "processing-tab";
        recording.duration = 1;
        recording.tracks = {track(TrackKind::screen, "media/screen.webm", 0, 1)};
        add(recording);
        fs::copy_file(movie, store.directory(recording.id) / "media/screen.webm");
        start();
        // The model takes the result only when the event loop runs.
        ASSERT_TRUE(pollUntil([&] { return moment.hasCome(recording); }));
        select(recording);
        ASSERT_TRUE(waitUntil([&] { return onDisk(recording.id).state == "ready"; }));
        ASSERT_TRUE(waitUntil([&] { return project().state == "ready"; }));
        setTitle("edited");
        ASSERT_TRUE(saved());
        EXPECT_THAT(onDisk().tracks[0].file, testing::HasSubstr("-prepared-"));
    }
}

TEST_F(LibraryTests, OpensAProjectThatAnotherProgramHasAdded)
{
    start();
    const auto added = add(VideoProject::make("added"));
    model->open(QString::fromStdString(added.id.text()));
    ASSERT_TRUE(waitUntil([&] { return model->hasProject(); }));
    EXPECT_EQ(project().id, added.id);
    EXPECT_TRUE(waitUntil([&] { return model->library()->openRow() == 0; }));
}

TEST_F(LibraryTests, OpensARecordingThatEndedAfterTheListing)
{
    QProcess recorder;
    recorder.start("sleep", {"600"});
    ASSERT_TRUE(recorder.waitForStarted());
    auto recording = addRecording("recording", R"({"pid": )" + std::to_string(recorder.processId()) + "}");
    start();
    const auto open = [&] { model->open(QString::fromStdString(recording.id.text())); };
    open();
    ASSERT_TRUE(waitUntil([&] { return model->status() == "Termina esta grabación antes de editarla."; }));
    EXPECT_FALSE(model->hasProject());

    recording.state = "ready";
    store.save(recording);
    open();
    ASSERT_TRUE(waitUntil([&] { return model->hasProject(); }));
    EXPECT_EQ(project(), onDisk());
    EXPECT_EQ(listedState(recording), "ready");
    recorder.kill();
    recorder.waitForFinished();
}

TEST_F(LibraryTests, SettlesOnlyMarkedRecordingsWhoseRecorderHasEnded)
{
    ProjectDocuments documents(store);
    struct Case {
        const char* state;
        pid_t recorder;
        bool thisProcessRecords;
        const char* expected;
    };
    for (const auto& [state, recorder, thisProcessRecords, expected] :
        {Case{"recording", 0, false, "needs-recovery"}, Case{"ready", 0, false, "ready"},
            Case{"recording", ::getpid(), true, "recording"}, Case{"recording-tab", ::getpid(), false, "recoverable-tab"}}) {
        const auto recording = addRecording(state, R"({"pid": )" + std::to_string(recorder) + "}");
        const auto settled = QCoro::waitFor(documents.settleRecording(recording.id, thisProcessRecords));
        ASSERT_TRUE(settled);
        EXPECT_EQ(settled->state, expected);
        EXPECT_EQ(onDisk(recording.id).state, expected);
    }
    EXPECT_FALSE(QCoro::waitFor(documents.settleRecording(Uuid::random(), false)));
}

TEST_F(LibraryTests, KeepsTheStateOfARecordingThatBeginsDuringTheListing)
{
    start();
    auto older = addRecording("recording", R"({"pid": 0})");
    older.createdAt -= std::chrono::seconds(10); // Listed last.
    store.save(older);
    const auto recorded = addRecording("recording", R"({"pid": )" + std::to_string(::getpid()) + "}");
    model->refreshLibrary();
    setPhase(Recorder::Phase::Recording);
    EXPECT_TRUE(waitUntil([&] { return onDisk(older.id).state == "needs-recovery"; }));
    EXPECT_EQ(onDisk(recorded.id).state, "recording");
}

TEST_F(LibraryTests, RecoversTheOpenRecording)
{
    auto recording = VideoProject::make("interrupted");
    recording.state = "needs-recovery";
    recording.duration = 1;
    recording.tracks = {track(TrackKind::screen, "media/screen.mov", 0, 1)};
    add(recording);
    const auto file = store.directory(recording.id) / "media/screen.mov";
    std::ofstream(store.directory(recording.id) / "capture-session.json") << "{}";
    start();
    select(recording);
    EXPECT_EQ(model->preview(), Playback::Preview::Failed);
    EXPECT_TRUE(model->projectFacts().recoverable);
    setTitle("edited meanwhile");

    model->recover();
    ASSERT_TRUE(waitUntil([&] { return !model->busy(); }));
    EXPECT_EQ(model->errorMessage(), "No se ha podido recuperar toda la grabación: Falta «media/screen.mov».");
    EXPECT_EQ(model->status(), "No se ha completado la operación");
    EXPECT_EQ(project().state, "needs-recovery");

    makeVideo(file, "testsrc2=size=64x36:rate=10:duration=2");
    model->recover();
    ASSERT_TRUE(waitUntil([&] { return !model->busy(); }));
    EXPECT_EQ(model->status(), "Grabación preparada");
    EXPECT_EQ(project().state, "ready");
    EXPECT_EQ(project().title, "edited meanwhile");
    EXPECT_NEAR(project().duration, 2, 0.05);
    EXPECT_EQ(model->preview(), Playback::Preview::Ready);
    EXPECT_FALSE(model->canUndo()) << "an undo would need unplayable files";
    ASSERT_TRUE(saved());
    EXPECT_EQ(onDisk().state, "ready");
    EXPECT_FALSE(fs::exists(store.directory(recording.id) / "capture-session.json"));
}

TEST_F(LibraryTests, ReportsNoErrorWhenAMarkCannotBeWritten)
{
    const auto recording = addRecording("recording", "");
    const FileSizeLimit full(100);
    start();
    EXPECT_TRUE(model->prepareToQuit());
    EXPECT_EQ(listedState(recording), "needs-recovery");
    EXPECT_EQ(onDisk(recording.id).state, "recording");
    EXPECT_EQ(model->errorMessage(), "");
}

TEST_F(LibraryTests, ListsUnsavedEdits)
{
    openNew();
    setTitle("not saved yet");
    model->refreshLibrary();
    refresh();
    EXPECT_EQ(model->library()->find(project().id)->title, "not saved yet");
    EXPECT_EQ(model->library()->openRow(), 0);
}

TEST_F(LibraryTests, ReportsInSpanishThatTheLibraryCannotBeCreated)
{
    std::ofstream(folder / "file") << "x";
    try {
        AppServices::openLibrary(folder / "file" / "library");
        FAIL();
    } catch (const Error& error) {
        EXPECT_THAT(error.what(), testing::StartsWith("No se ha podido abrir la biblioteca: «"));
        EXPECT_THAT(error.what(), testing::HasSubstr("no es una carpeta"));
    }
}

} // namespace
} // namespace orvo::test
