#include "Installation.h"
#include "TestSupport/Media.h"

#include <fstream>
#include <gmock/gmock.h>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::IsEmpty;

class ImportExport : public CliFixture {
protected:
    ImportExport()
        : clip(folder / "mi vídeo.de prueba.mp4")
    {
        makeMedia(clip,
            {"-f", "lavfi", "-i", "testsrc2=size=160x90:rate=30:duration=3", "-f", "lavfi", "-i", "sine=duration=3", "-c:v",
                "libx264", "-preset", "ultrafast", "-c:a", "aac"});
    }

    fs::path clip;
};

TEST_F(ImportExport, ImportsEditsAndExports)
{
    const JsonAnswer imported = answer({"import", clip});
    const std::string movie = imported["id"].text();
    VideoProject now = store.load(*Uuid::parse(movie));
    EXPECT_EQ(now.title, "mi vídeo.de prueba");
    EXPECT_EQ(now.width, 160);
    EXPECT_EQ(now.fps, 30);
    ASSERT_EQ(now.tracks.size(), 1);
    EXPECT_EQ(now.tracks[0].kind, TrackKind::screen);
    EXPECT_EQ(now.tracks[0].duration, now.duration);
    EXPECT_EQ(readFile(store.mediaURL(now, now.tracks[0].file)), readFile(clip));
    EXPECT_EQ(answer({"list"})[0]["id"].text(), movie) << "newest first";

    EXPECT_EQ(answer({"import", "--append", movie.substr(0, 8), clip})["id"].text(), movie);
    now = store.load(now.id);
    ASSERT_EQ(now.tracks.size(), 2);
    EXPECT_EQ(now.tracks[1].kind, TrackKind::clip);
    EXPECT_EQ(now.tracks[1].start, now.tracks[0].duration);
    EXPECT_NEAR(now.duration, 6, 0.1);

    answer({"cut", movie, "1", "2.5"});
    answer({"text", movie, "0", "Hola"});
    ffmpeg({"-f", "lavfi", "-i", "color=red:size=16x16", "-frames:v", "1", folder / "rojo.PNG"});
    const std::string image =
        answer({"image", movie, "0", folder / "rojo.PNG", "--x", "0.5", "--y", "0.5"})["element"].text();
    now = store.load(now.id);
    const Overlay& overlay = now.edit.overlays[1];
    EXPECT_EQ(overlay.id.text(), image);
    EXPECT_THAT(overlay.content, testing::MatchesRegex("media/[0-9A-F-]{36}\\.PNG"));
    EXPECT_EQ(readFile(store.mediaURL(now, overlay.content)), readFile(folder / "rojo.PNG"));

    const fs::path out = folder / "-salida 'x': \"y\".mp4";
    const JsonAnswer exported = answer({"export", movie, "--height", "72", "--fps", "15", "--quality", "small", "--", out});
    EXPECT_EQ(exported["file"].text(), out);
    const ProbedFile file = probe(out);
    EXPECT_EQ(file.height, 72);
    EXPECT_NEAR(file.videoDuration, now.playableDuration(), 1.0 / 15);
    EXPECT_NEAR(file.frames, now.playableDuration() * 15, 1);
    EXPECT_TRUE(fs::exists(fs::path(out).replace_extension("srt")));
    const auto colour = decodeFrames(out)[7].mean(0.55, 0.6, 0.75, 0.9);
    EXPECT_GT(colour.red, colour.green + 80) << "the frame shows the image";

    const Outcome defaults = orvo({"export", movie, folder / "igual.mp4"});
    EXPECT_EQ(defaults.status, 0);
    EXPECT_THAT(defaults.err, IsEmpty()) << "no progress without a terminal";
    EXPECT_EQ(probe(folder / "igual.mp4").height, 90) << "never larger than the project";
    EXPECT_EQ(probe(folder / "igual.mp4").frames, 135);
}

TEST_F(ImportExport, SendsTheVideoToStandardOutput)
{
    const std::string movie = answer({"import", clip})["id"].text();
    const auto before = std::ranges::distance(fs::directory_iterator(store.directory(*Uuid::parse(movie))));
    setup.outputFile = folder / "salida.mp4";
    std::ofstream(setup.outputFile).close();
    const Outcome outcome = orvo({"export", movie, "-"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_NEAR(probe(setup.outputFile).videoDuration, 3, 0.1);
    EXPECT_EQ(std::ranges::distance(fs::directory_iterator(store.directory(*Uuid::parse(movie)))), before);

    setup.outputFile.clear();
    EXPECT_EQ(orvo({"export", movie, "-", "--json"}).status, 2);
    setup.outputTerminal = true;
    EXPECT_EQ(orvo({"export", movie, "-"}).status, 2) << "refuses to write video to a terminal";
}

TEST_F(ImportExport, AsksBeforeReplacingOnATerminal)
{
    const std::string movie = answer({"import", clip})["id"].text();
    const fs::path file = folder / "hecho.mp4";
    struct Case {
        std::string typed;
        bool isTerminal;
        bool force;
        bool replaced;
    };
    for (const auto& [typed, isTerminal, force, replaced] : {Case{"n\n", true, false, false}, Case{"\n", true, false, false},
             Case{"s\n", true, false, true}, Case{"", true, true, true}, Case{"", false, false, true}}) {
        std::ofstream(file) << "before";
        setup.inputTerminal = setup.errorTerminal = isTerminal;
        setup.input = typed;
        std::vector<std::string> words{"export", movie, file};
        if (force)
            words.emplace_back("--force");
        const Outcome outcome = orvo(words);
        EXPECT_EQ(outcome.status, replaced ? 0 : 1) << typed;
        EXPECT_EQ(readFile(file) != "before", replaced) << typed;
        EXPECT_EQ(outcome.err.contains("¿Reemplazarlo?"), isTerminal && !force);
    }
}

TEST_F(ImportExport, RejectsHugeImages)
{
    const auto huge = folder / "enorme.png";
    std::ofstream(huge) << "\x89PNG\r\n\x1a\n";
    fs::resize_file(huge, std::uintmax_t{64} << 30);
    const Outcome outcome = orvo({"image", id, "0", huge});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("el archivo es demasiado grande"));
}

TEST_F(ImportExport, ShowsProgressOnATerminal)
{
    const std::string movie = answer({"import", clip})["id"].text();
    setup.errorTerminal = true;
    const Outcome outcome = orvo({"export", movie, folder / "out.mp4", "--json"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.err, HasSubstr("Exportando"));
    EXPECT_THAT(outcome.err, testing::EndsWith("\r\x1b[K")) << "erased at the end";
    EXPECT_EQ(JsonAnswer(outcome.out)["id"].text(), movie) << "standard output has only the answer";
}

TEST_F(ImportExport, ReplacesFailingHardware)
{
    // This encoder passes every trial, which writes to the null muxer, and fails every real run.
    const Installation installation;
    installation.addScript("ffprobe", R"(exec ffprobe "$@")");
    installation.addScript("ffmpeg", R"(case "$*" in
*-encoders*) echo ' V....D h264_videotoolbox    VideoToolbox H.264 Encoder (codec h264)'; exit ;;
*h264_videotoolbox*'-f null -') exit ;;
*h264_videotoolbox*) echo 'no free session' >&2; exit 1 ;;
esac
exec ffmpeg "$@")");
    const std::string movie = answer({"import", clip})["id"].text();
    setup.executable = installation.program();
    const fs::path made[]{folder / "out.mp4", folder / "package"};
    const std::vector<std::string> commands[]{
        {"export", movie, made[0]}, {"package", movie, made[1], "--quality", "high"}, {"recover", movie}};
    for (const auto& command : commands) {
        SCOPED_TRACE(command.front());
        const Outcome outcome = orvo(command);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_THAT(
            outcome.err, HasSubstr("El codificador de la tarjeta gráfica ha fallado; se ha usado el del procesador."));
    }
    EXPECT_EQ(probe(made[0]).videoCodec, "h264");
    EXPECT_TRUE(fs::exists(made[1] / "master.m3u8"));
}

TEST_F(ImportExport, RejectsNonMovies)
{
    std::ofstream(folder / "texto.mp4") << "esto es un texto";
    std::ofstream(folder / "vacío.mp4").flush();
    std::ofstream(folder / "lista.mp4") << "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\n" << clip.string() << "\n";
    makeAudio(folder / "sonido.m4a", "sine=duration=1");
    ffmpeg({"-i", clip, "-c:v", "copy", "-an", "-f", "h264", folder / "crudo.h264"});
    struct Case {
        fs::path file;
        std::string message;
    };
    const Case cases[]{
        {folder / "no está.mp4", "no existe"},
        {folder.path(), "es una carpeta"},
        {folder / "texto.mp4", "«texto.mp4» no se puede leer"},
        {folder / "vacío.mp4", "no se puede leer"},
        {folder / "lista.mp4", "no se puede leer"}, // A playlist would make ffmpeg read other files.
        {folder / "crudo.h264", "El archivo no contiene una duración válida."},
        {folder / "sonido.m4a", "«sonido.m4a» no contiene vídeo."},
        {"/dev/null", "no es válido"},
    };
    const std::string before = document();
    for (const auto& [file, message] : cases) {
        for (const std::vector<std::string>& arguments :
            {std::vector<std::string>{"import", file, "--json"}, {"import", file, "--append", id, "--json"}}) {
            const Outcome outcome = orvo(arguments);
            EXPECT_EQ(outcome.status, 1) << file;
            EXPECT_THAT(outcome.err, HasSubstr(message));
            EXPECT_THAT(outcome.out, IsEmpty());
        }
    }
    EXPECT_EQ(answer({"list"}).size(), 1);
    EXPECT_EQ(document(), before);
    EXPECT_TRUE(fs::is_empty(store.directory(project.id) / "media"));
    EXPECT_EQ(orvo({"import", clip, "--append", "FFFF"}).status, 3);
}

TEST_F(ImportExport, ReplacesInvalidUtf8InTitles)
{
    const fs::path strange = folder / "caf\xE9.mp4";
    fs::copy_file(clip, strange);
    const JsonAnswer imported = answer({"import", strange});
    EXPECT_EQ(imported["title"].text(), "caf\uFFFD");
}

TEST_F(ImportExport, AcceptsEveryImageFormat)
{
    for (const std::string name : {"a.png", "b.jpg", "c.webp", "d.gif", "e.bmp", "f.tiff"}) {
        ffmpeg({"-f", "lavfi", "-i", "color=red:size=16x16:rate=1:duration=1", folder / name});
        EXPECT_EQ(orvo({"image", id, "1", folder / name}).status, 0) << name;
    }
    EXPECT_THAT(orvo({"image", "--help"}).out, HasSubstr("PNG, JPEG, WebP, GIF, BMP o TIFF"));
}

TEST_F(ImportExport, RejectsNonImages)
{
    ffmpeg({"-f", "lavfi", "-i", "color=red:size=16x16", "-frames:v", "1", folder / "rojo.png"});
    const std::string png = readFile(folder / "rojo.png");
    std::ofstream(folder / "cortada.png") << png.substr(0, 20);
    std::ofstream(folder / "a medias.png") << png.substr(0, png.size() / 2);
    std::ofstream(folder / "texto.png") << "esto es un texto";
    ffmpeg({"-f", "lavfi", "-i", "color=red:size=16x16:duration=1", folder / "vídeo.mp4"});
    fs::rename(folder / "vídeo.mp4", folder / "vídeo.png");
    const std::string before = document();
    for (const std::string name : {"cortada.png", "a medias.png", "texto.png", "vídeo.png"}) {
        expectFailure({"image", id, "1", folder / name}, 1, "«" + name + "» no es una imagen que se pueda usar");
    }
    EXPECT_EQ(orvo({"image", id, "1", folder / "no está.png"}).status, 1);
    EXPECT_EQ(orvo({"image", id, "99", folder / "rojo.png"}).status, 2);
    EXPECT_EQ(document(), before);
    EXPECT_TRUE(fs::is_empty(store.directory(project.id) / "media")) << "no copy remains";
}

TEST_F(ImportExport, RefusesImpossibleDestinations)
{
    const std::string movie = answer({"import", clip})["id"].text();
    const VideoProject now = store.load(*Uuid::parse(movie));
    const fs::path original = store.mediaURL(now, now.tracks[0].file);
    const std::string bytes = readFile(original);
    fs::create_symlink(original, folder / "enlace.mp4");
    fs::create_hard_link(original, folder / "original.mp4");
    fs::create_directories(folder / "subtítulos.srt");
    struct Case {
        fs::path file;
        std::string message;
    };
    const Case cases[]{
        {folder / "out.avi", "debe terminar en «.mp4»"},
        {folder / "out", "debe terminar en «.mp4»"},
        {folder / "original.mp4", "El destino es un archivo original del proyecto. Elige otro nombre."},
        {folder / "subtítulos.mp4", "es una carpeta"},
        {folder / "no está/out.mp4", "no existe"},
        {folder.path(), "es una carpeta"},
        {clip / "out.mp4", "no es una carpeta"},
        {original, "está dentro de un proyecto"},
        {folder / "enlace.mp4", "está dentro de un proyecto"},
        {store.directory(now.id) / "out.mp4", "está dentro de un proyecto"},
    };
    for (const auto& [file, message] : cases) {
        expectFailure({"export", movie, file}, 1, message);
    }
    EXPECT_FALSE(fs::exists(folder / "subtítulos.mp4")) << "reported before rendering";
    EXPECT_EQ(readFile(original), bytes);
}

} // namespace

} // namespace orvo::test
