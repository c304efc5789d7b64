#include "Installation.h"
#include "TestSupport/Media.h"
#include "VideoMedia/ProcessRunner.h"

#include <csignal>
#include <gmock/gmock.h>
#include <sys/stat.h>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;
using testing::UnorderedElementsAre;

class Interrupted : public CliFixture {
protected:
    Interrupted() { makeVideo(folder / "clip.mp4", "testsrc2=size=64x36:rate=10:duration=1"); }
};

TEST_F(Interrupted, RemovesThePartialExport)
{
    // Holding the last frame for an hour makes the export long enough to interrupt on any machine.
    project.duration = 3600;
    project.tracks = {track(TrackKind::screen, "media/screen.mov", 0, 3600)};
    store.save(project);
    fs::copy_file(folder / "clip.mp4", store.directory(project.id) / "media/screen.mov");

    setup.errorTerminal = true;
    for (const int signal : {SIGINT, SIGTERM}) {
        Program program({"export", id, folder / "out.mp4"}, setup);
        ASSERT_TRUE(program.waitForError("%")) << "rendering has started";
        program.signal(signal);
        const Outcome outcome = program.end();
        EXPECT_EQ(outcome.status, 130);
        EXPECT_THAT(outcome.err, HasSubstr("Operación cancelada"));
        EXPECT_FALSE(fs::exists(folder / "out.mp4"));
        EXPECT_FALSE(fs::exists(folder / "out.srt"));
        EXPECT_THAT(namesIn(store.directory(project.id)), UnorderedElementsAre("media", "project.json"));
    }
}

/// Waits for a line in a named pipe.
std::string readLine(const fs::path& pipe)
{
    std::string line;
    std::ifstream stream(pipe);
    std::getline(stream, line);
    return line;
}

/// The path of a program that is installed beside this machine's ffmpeg.
fs::path realProgram(const std::string& name)
{
    return fs::canonical(*ProcessRunner::ffmpeg()).parent_path() / name;
}

/// Holds an import at its last step, the probe of the finished copy, until the test continues it.
class HeldImport : public Interrupted {
protected:
    HeldImport()
    {
        setup.executable = installation.program();
        EXPECT_EQ(::mkfifo(reached().c_str(), 0600), 0);
        EXPECT_EQ(::mkfifo(goOn().c_str(), 0600), 0);
        const fs::path real = realProgram("ffprobe");
        installation.addScript("ffmpeg", "exit 1");
        // The last argument is the file: the import probes the original, then the copy.
        installation.addScript("ffprobe",
            "for file; do :; done\n"
            "case $file in */media/*) echo here >'"
                + reached().string() + "'; read line <'" + goOn().string() + "' ;; esac\nexec '" + real.string()
                + "' \"$@\"");
    }

    fs::path reached() const { return folder / "reached"; }
    fs::path goOn() const { return folder / "go on"; }

    void waitUntilReached() const { EXPECT_EQ(readLine(reached()), "here"); }
    void letGoOn() const { std::ofstream(goOn()) << "go\n"; }

    Installation installation;
};

TEST_F(HeldImport, RemovesThePartialProject)
{
    Program program({"import", folder / "clip.mp4"}, setup);
    waitUntilReached();
    EXPECT_THAT(namesIn(store.root()), SizeIs(2)) << "the new project's folder exists during the import";
    program.signal(SIGTERM);
    const Outcome outcome = program.end();
    EXPECT_EQ(outcome.status, 130);
    EXPECT_EQ(outcome.err, "orvo: Operación cancelada\n");
    EXPECT_THAT(namesIn(store.root()), ElementsAre(id));
}

TEST_F(HeldImport, KeepsEditsMadeMeanwhile)
{
    Program import({"import", folder / "clip.mp4", "--append", id}, setup);
    waitUntilReached();
    VideoProject edited = stored();
    edited.title = "Nuevo"; // A program that does not take the lock.
    store.save(edited);
    auto editSetup = setup;
    editSetup.errorTerminal = true;
    Program edit({"cut", id, "1", "2"}, editSetup);
    ASSERT_TRUE(edit.waitForError("espero a que acabe")) << "waits for the lock";
    letGoOn();
    EXPECT_EQ(import.end().status, 0);
    EXPECT_EQ(edit.end().status, 0);
    EXPECT_EQ(stored().title, "Nuevo");
    ASSERT_THAT(stored().tracks, SizeIs(1));
    EXPECT_TRUE(fs::exists(store.mediaURL(stored(), stored().tracks[0].file)));
    EXPECT_THAT(stored().edit.cuts, ElementsAre(TimeSpan{1, 2}));
}

} // namespace

} // namespace orvo::test
