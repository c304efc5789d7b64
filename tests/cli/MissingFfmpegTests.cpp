#include "Installation.h"

#include "TestSupport/Media.h"

#include <fstream>
#include <gmock/gmock.h>

namespace orvo::test {

namespace {

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

TEST_F(MissingFfmpeg, FailsMediaCommandsButAllowsEditing)
{
    if (!Installation::isOnlyCandidate())
        GTEST_SKIP() << "this machine has another ffmpeg";
    const std::string before = document();
    expectFailure({"export", id, folder / "out.mp4"}, 1, "orvo: Instala FFmpeg desde Ajustes para exportar vídeos.\n");
    expectFailure({"import", folder / "clip.mp4"}, 1, "orvo: FFmpeg no está instalado.\n");
    expectFailure({"validate"}, 1, "FFmpeg no está instalado.");
    EXPECT_EQ(document(), before);
    EXPECT_EQ(answer({"list"}).size(), 1) << "a failed import leaves nothing behind";

    EXPECT_EQ(orvo({"validate", "--quick"}).status, 0);
    EXPECT_EQ(orvo({"cut", id, "1", "2"}).status, 0);
}

TEST_F(MissingFfmpeg, AppearsInTheEquipmentCheck)
{
    if (!Installation::isOnlyCandidate())
        GTEST_SKIP() << "this machine has another ffmpeg";
    setup.environment = {{"DISPLAY", ""}, {"WAYLAND_DISPLAY", ""}, {"DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent"},
        {"PULSE_SERVER", "unix:/nonexistent"}, {"XDG_DATA_HOME", (folder / "data").string()}, {"ORVO_MODELS", ""},
        {"PATH", "/nonexistent"}};
    const auto items = answer({"check"})["items"];
    struct Case {
        const char* name;
        const char* state;
    };
    const Case cases[]{{"ffmpeg", "missing"}, {"speechModel", "limited"}, {"microphone", "limited"}, {"screen", "missing"},
        {"shortcuts", "missing"}, {"tray", "limited"}, {"keyring", "limited"}, {"browser", "limited"}};
    ASSERT_EQ(items.size(), std::size(cases));
    for (std::size_t i = 0; i < items.size(); ++i) {
        EXPECT_EQ(items[i]["name"].text(), cases[i].name);
        EXPECT_EQ(items[i]["state"].text(), cases[i].state) << cases[i].name;
        EXPECT_NE(items[i]["text"].text(), "") << cases[i].name;
        EXPECT_NE(items[i]["advice"].text(), "") << cases[i].name << " gives advice";
    }
    const Outcome shown = orvo({"check"});
    EXPECT_EQ(shown.status, 0);
    EXPECT_THAT(shown.out, HasSubstr("falta  FFmpeg: "));
    EXPECT_THAT(shown.out, HasSubstr(items[0]["command"].text()));
}

TEST_F(MissingFfmpeg, ReportsAMissingFfprobe)
{
    installation.addScript("ffmpeg", "exit 1");
    expectFailure(
        {"import", folder / "clip.mp4"}, 1, "orvo: Falta ffprobe, que viene con FFmpeg. Vuelve a instalar FFmpeg.\n");
}

TEST_F(MissingFfmpeg, ReportsAnUnusableProgramInSpanish)
{
    const auto helper = installation.program().parent_path().parent_path() / "OrvoVideo.app/Contents/Helpers/ffmpeg";
    std::ofstream(helper) << "garbage";
    std::filesystem::permissions(helper, std::filesystem::perms::owner_all);
    const Outcome garbage = orvo({"export", id, folder / "out.mp4"});
    EXPECT_EQ(garbage.status, 1);
    EXPECT_THAT(garbage.err, HasSubstr("FFmpeg no se puede ejecutar."));
    EXPECT_THAT(garbage.err, HasSubstr("no es un programa de este sistema"));

    // A link to itself is skipped in favour of the next candidate.
    std::filesystem::remove(helper);
    std::filesystem::create_symlink("ffmpeg", helper);
    EXPECT_EQ(orvo({"settings", "--json"}).status, 0);
}

TEST_F(MissingFfmpeg, RefusesOldVersions)
{
    installation.addScript("ffmpeg", R"(echo 'ffmpeg version 5.1.6'; echo 'libavfilter     8. 44.100 /  8. 44.100')");
    expectFailure({"export", id, folder / "out.mp4"}, 1,
        "orvo: La versión de FFmpeg instalada es demasiado antigua. Instala FFmpeg 7 o posterior.\n");
    EXPECT_FALSE(std::filesystem::exists(folder / "out.mp4"));
}

} // namespace

} // namespace orvo::test
