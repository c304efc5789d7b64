#include "Installation.h"

#include "TestSupport/Media.h"

#include <fstream>
#include <gmock/gmock.h>

namespace orvo::test {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class MissingFfmpeg : public CliFixture {
protected:
    MissingFfmpeg()
    {
        setup.executable = installation.program();
        makeVideo(folder / "clip.mp4", "testsrc2=size=64x36:rate=10:duration=1");
        std::filesystem::copy_file(folder / "clip.mp4", store.directory(project.id) / "media/screen.mov");
        project.tracks = {track(TrackKind::screen, "media/screen.mov", 0, 10)};
        store.save(project);
    }

    Installation installation;
};

TEST_F(MissingFfmpeg, IsReportedWhileEditingGoesOn)
{
    if (!Installation::isOnlyCandidate())
        GTEST_SKIP() << "this machine has another ffmpeg";
    const std::string before = document();
    const Outcome exported = orvo({"export", id, folder / "out.mp4"});
    EXPECT_EQ(exported.status, 1);
    EXPECT_EQ(exported.err, "orvo: Instala FFmpeg desde Ajustes para exportar vídeos.\n");
    const Outcome imported = orvo({"import", folder / "clip.mp4"});
    EXPECT_EQ(imported.status, 1);
    EXPECT_EQ(imported.err, "orvo: FFmpeg no está instalado.\n");
    const Outcome validated = orvo({"validate"});
    EXPECT_EQ(validated.status, 1);
    EXPECT_THAT(validated.err, HasSubstr("FFmpeg no está instalado."));
    EXPECT_EQ(document(), before);
    EXPECT_EQ(answer({"list"}).size(), 1) << "a failed import leaves nothing behind";

    EXPECT_EQ(orvo({"validate", "--quick"}).status, 0);
    EXPECT_EQ(orvo({"cut", id, "1", "2"}).status, 0);
}

TEST_F(MissingFfmpeg, NamesTheProbeThatIsMissing)
{
    installation.addScript("ffmpeg", "exit 1");
    const Outcome imported = orvo({"import", folder / "clip.mp4"});
    EXPECT_EQ(imported.status, 1);
    EXPECT_EQ(imported.err, "orvo: Falta ffprobe, que viene con FFmpeg. Vuelve a instalar FFmpeg.\n");
}

TEST_F(MissingFfmpeg, ReportsWhatCannotRunInSpanish)
{
    const auto helper = installation.program().parent_path().parent_path() / "OrvoVideo.app/Contents/Helpers/ffmpeg";
    std::ofstream(helper) << "garbage";
    std::filesystem::permissions(helper, std::filesystem::perms::owner_all);
    const Outcome garbage = orvo({"export", id, folder / "out.mp4"});
    EXPECT_EQ(garbage.status, 1);
    EXPECT_THAT(garbage.err, HasSubstr("FFmpeg no se puede ejecutar."));
    EXPECT_THAT(garbage.err, HasSubstr("no es un programa de este sistema"));

    // A link to itself cannot even be looked at: the next candidate counts.
    std::filesystem::remove(helper);
    std::filesystem::create_symlink("ffmpeg", helper);
    EXPECT_EQ(orvo({"settings", "--json"}).status, 0);
}

TEST_F(MissingFfmpeg, RefusesOldVersions)
{
    installation.addScript("ffmpeg", R"(echo 'ffmpeg version 5.1.6'; echo 'libavfilter     8. 44.100 /  8. 44.100')");
    const Outcome exported = orvo({"export", id, folder / "out.mp4"});
    EXPECT_EQ(exported.status, 1);
    EXPECT_EQ(exported.err, "orvo: La versión de FFmpeg instalada es demasiado antigua. Instala FFmpeg 7 o posterior.\n");
    EXPECT_FALSE(std::filesystem::exists(folder / "out.mp4"));
}

} // namespace

} // namespace orvo::test
