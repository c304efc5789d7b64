#include "ExportFixture.h"
#include "TestSupport/SmallDisk.h"
#include "VideoCore/Error.h"
#include "VideoCore/FileIO.h"

#include <csignal>
#include <fstream>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class ExportFailure : public ExportFixture {
protected:
    ExportFailure()
    {
        fs::create_directories(temporary);
        ::setenv("TMPDIR", temporary.c_str(), 1);
        makePlain();
        screen = addTrack(TrackKind::screen, "screen.mov");
        makeVideo(screen, "testsrc2=size=320x180:rate=30:duration=4");
    }

    ~ExportFailure() override
    {
        ::unsetenv("TMPDIR");
        EXPECT_THAT(leftovers(), IsEmpty()) << "the work folder is removed";
        EXPECT_TRUE(fs::is_empty(temporary)) << "the pipe of the mix is removed";
    }

    std::string failure() { return ExportFixture::failure(folder / "out.mp4"); }

    const fs::path temporary = folder / "temporary";
    fs::path screen;
};

TEST_F(ExportFailure, RejectsProjectsWithoutVisibleVideo)
{
    project.edit.cuts = {{0, 3.995}};
    EXPECT_EQ(failure(), "El proyecto no contiene vídeo visible.");
    project.edit.cuts = {};
    project.tracks.edit()[0].kind = TrackKind::camera;
    EXPECT_EQ(failure(), "El proyecto no contiene vídeo visible.");
    project.tracks = {};
    EXPECT_EQ(failure(), "El proyecto no contiene vídeo visible.");
}

TEST_F(ExportFailure, RejectsImpossibleSizesAndRates)
{
    const auto failureWith = [&](const ExportSettings& settings) { return failureOf([&] { render(settings); }); };
    for (const std::int64_t fps : {0, -1, 1'001, 1'000'000})
        EXPECT_EQ(failureWith({.fps = fps}), "La frecuencia de fotogramas del proyecto no es válida.") << fps;
    for (const std::int64_t height : {0, -480})
        EXPECT_EQ(failureWith({.height = height}), "El tamaño del proyecto no es válido.") << height;
    project.width = 20'000;
    EXPECT_EQ(failureWith({}), "El tamaño del proyecto no es válido.");
    project.duration = 1e12;
    EXPECT_EQ(failureWith({}), "La duración del proyecto no es válida.");
    EXPECT_FALSE(fs::exists(folder / "out.mp4"));
}

TEST_F(ExportFailure, RejectsMissingForeignAndDamagedMedia)
{
    project.tracks.edit().push_back(track(TrackKind::microphone, "media/microphone.m4a", 0, 4));
    EXPECT_EQ(failure(), "Falta un archivo original. Recupera el proyecto antes de exportar.");

    const auto microphone = store.directory(project.id) / "media/microphone.m4a";
    ASSERT_EQ(::mkfifo(microphone.c_str(), 0600), 0);
    EXPECT_EQ(failure(), "Falta un archivo original. Recupera el proyecto antes de exportar.") << "the pipe has no writer";
    fs::remove(microphone);

    writeFileAtomically(microphone, "esto es un texto");
    EXPECT_THAT(failure(), HasSubstr("«microphone.m4a» no se puede leer"));
    // A playlist could make ffmpeg read other files.
    writeFileAtomically(
        microphone, "#EXTM3U\n#EXT-X-TARGETDURATION:4\n#EXTINF:4,\n" + screen.string() + "\n#EXT-X-ENDLIST\n");
    EXPECT_THAT(failure(), HasSubstr("«microphone.m4a» no se puede leer"));
    writeFileAtomically(microphone, "ffconcat version 1.0\nfile screen.mov\n");
    EXPECT_THAT(failure(), HasSubstr("«microphone.m4a» no se puede leer"));

    for (const std::string outside : {"../x.mov", "/etc/passwd", "media/link/x.mov"}) {
        fs::remove(store.directory(project.id) / "media/link");
        fs::create_directory_symlink(folder.path(), store.directory(project.id) / "media/link");
        project.tracks.edit()[1].file = outside;
        EXPECT_THAT(failure(), HasSubstr("no es válido")) << outside;
    }
    project.tracks = {track(TrackKind::screen, "media/audio.m4a", 0, 4)};
    makeAudio(store.directory(project.id) / "media/audio.m4a", "sine=duration=4");
    EXPECT_EQ(failure(), "«media/audio.m4a» no contiene vídeo.");
}

TEST_F(ExportFailure, RejectsMissingBrokenAndOversizedImages)
{
    const auto media = store.directory(project.id) / "media";
    const fs::path whole = folder / "whole.png";
    ffmpeg({"-f", "lavfi", "-i", "testsrc2=size=640x640", "-frames:v", "1", "-update", "1", whole.string()});
    const std::string content = readFile(whole);
    writeFileAtomically(media / "half.png", content.substr(0, content.size() / 2));
    writeFileAtomically(media / "text.png", "esto es un texto");
    writeFileAtomically(media / "empty.png", "");
    writeFileAtomically(media / "list.png", "#EXTM3U\n#EXTINF:4,\n" + whole.string() + "\n#EXT-X-ENDLIST\n");
    ASSERT_EQ(::mkfifo((media / "pipe.png").c_str(), 0600), 0);
    const std::pair<std::string, std::string> cases[] = {
        {"no.png", "Falta una imagen del proyecto."},
        {"pipe.png", "Falta una imagen del proyecto."},
        {"half.png", "«media/half.png» no es una imagen que se pueda usar."},
        {"text.png", "«media/text.png» no es una imagen que se pueda usar."},
        {"empty.png", "«media/empty.png» no es una imagen que se pueda usar."},
        {"list.png", "«media/list.png» no es una imagen que se pueda usar."},
    };
    for (const auto& [name, text] : cases) {
        project.edit.overlays = {{.kind = Overlay::Kind::image, .content = "media/" + name}};
        EXPECT_EQ(failure(), text);
    }

    fs::copy_file(whole, media / "whole.png");
    project.edit.overlays = {{.kind = Overlay::Kind::image, .content = "media/whole.png", .width = 60}};
    EXPECT_EQ(failure(), "El ancho de la imagen «media/whole.png» no es válido.");
}

TEST_F(ExportFailure, ReportsAFullDestination)
{
    const SmallDisk disk(64 << 10);
    if (!disk)
        GTEST_SKIP() << "this process may not mount";
    const auto text = ExportFixture::failure(disk.path() / "out.mp4");
    EXPECT_THAT(text, StartsWith("El proceso de vídeo falló: "));
    EXPECT_THAT(text, HasSubstr("No space left on device"));
}

TEST(ExportFullLibrary, MixesTheAudioWithoutDiskSpace)
{
    constexpr std::size_t room = 512 << 10; // The mix of 20 seconds takes seven times as much.
    const SmallDisk disk(room);
    if (!disk)
        GTEST_SKIP() << "this process may not mount";
    const TemporaryFolder folder;
    const ProjectStore store(disk.path() / "library");
    auto project = emptyProject(20);
    project.width = 64;
    project.height = 36;
    project.tracks = {track(TrackKind::screen, "media/screen.mov", 0, 20)};
    store.create(project);
    const auto screen = store.mediaURL(project, "media/screen.mov");
    makeVideo(screen, "color=red:size=64x36:rate=10:duration=20");
    const std::string original = readFile(screen);
    const FfprobeMediaProbe probeService;
    ExportService::exportVideo(project, store, folder / "out.mp4", {}, probeService);
    EXPECT_NEAR(probe(folder / "out.mp4").videoDuration, 20, 0.1);
    EXPECT_EQ(store.load(project.id), project);
    EXPECT_EQ(readFile(screen), original);
    EXPECT_THAT(namesIn(store.directory(project.id)), testing::Each(testing::Not(StartsWith("render-"))));
}

/// The identifiers of this process's children.
std::vector<pid_t> children()
{
    std::vector<pid_t> found;
    for (const auto& task : fs::directory_iterator("/proc/self/task")) {
        std::ifstream list(task.path() / "children");
        for (pid_t child = 0; list >> child;)
            found.push_back(child);
    }
    return found;
}

TEST_F(ExportFailure, KeepsTheOlderMovieUntilTheNewOneIsComplete)
{
    writeFileAtomically(folder / "out.mp4", "older film");
    writeFileAtomically(folder / "out.srt", "corrected by hand");
    const auto before = namesIn(folder.path());
    project.duration = 60;
    project.tracks.edit()[0].duration = 60;
    std::stop_source stop;
    progress = [&](double) { stop.request_stop(); };
    EXPECT_THROW(render({}, stop.get_token()), Cancelled);
    EXPECT_THROW(render({}, stop.get_token()), Cancelled) << "cancelled before it begins";
    bool killed = false;
    progress = [&](double) {
        for (const pid_t child : children())
            killed |= ::kill(child, SIGKILL) == 0;
    };
    EXPECT_THAT([&] { render(); }, testing::ThrowsMessage<Error>(StartsWith("El proceso de vídeo falló: ")));
    EXPECT_TRUE(killed);
    EXPECT_EQ(readFile(folder / "out.mp4"), "older film");
    EXPECT_EQ(readFile(folder / "out.srt"), "corrected by hand");
    EXPECT_THAT(namesIn(folder.path()), testing::ElementsAreArray(before)) << "no partial files stay";

    progress = {};
    project.duration = 4;
    project.tracks.edit()[0].duration = 4;
    project.edit.words = {word("Hola", 1, 2)};
    fs::permissions(folder / "out.mp4", fs::perms::owner_read | fs::perms::owner_write);
    const auto outcome = ExportService::exportVideo(project, store, folder / "out.mp4", {}, probeService);
    EXPECT_EQ(outcome.remarks(), "Los subtítulos que había se conservan en «out.srt.bak».");
    EXPECT_EQ(fs::status(folder / "out.mp4").permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(readFile(folder / "out.srt.bak"), "corrected by hand");
    EXPECT_THAT(readFile(folder / "out.srt"), HasSubstr("Hola"));
    project.edit.words = {word("Adiós", 1, 2)};
    render();
    writeFileAtomically(folder / "out.srt", "corrected by hand");
    render();
    EXPECT_FALSE(fs::exists(folder / "out.srt.bak2")) << "no copy of exported or already kept subtitles";
    std::ofstream(folder / "out.srt", std::ios::app) << "a correction";
    render();
    EXPECT_THAT(readFile(folder / "out.srt.bak2"), HasSubstr("a correction"));
    EXPECT_NEAR(probe(folder / "out.mp4").videoDuration, 4, 0.1);
}

} // namespace

} // namespace orvo::test
