#include "CliFixture.h"
#include "TestSupport/Media.h"

#include <fstream>
#include <gmock/gmock.h>
#include <unistd.h>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class Recover : public CliFixture {
protected:
    Recover()
    {
        project.state = "recording";
        project.duration = 2;
        project.tracks = {track(TrackKind::screen, "media/screen.mov", 0, 2)};
        store.save(project);
    }

    void writeSession(int process) const { std::ofstream(session) << R"({"pid": )" << process << "}"; }

    const fs::path session = store.directory(project.id) / "capture-session.json";
};

TEST_F(Recover, DropsLostTracksWhenAsked)
{
    project.tracks.edit().push_back(track(TrackKind::microphone, "media/microphone.webm", 0, 2));
    store.save(project);
    makeVideo(store.directory(project.id) / "media/screen.mov", "testsrc2=size=64x36:rate=10:duration=3");
    std::ofstream(store.directory(project.id) / "media/microphone.webm").flush();
    const auto partly = orvo({"recover", id});
    EXPECT_EQ(partly.status, 1);
    EXPECT_EQ(partly.err,
        "orvo: No se ha podido recuperar toda la grabación: «media/microphone.webm» no contiene nada que recuperar.\n"
        "Lo demás está recuperado. Para seguir sin eso: orvo recover "
            + id + " --without-lost\n");
    EXPECT_EQ(stored().state, "needs-recovery");
    EXPECT_THAT(stored().tracks[0].file, HasSubstr("-prepared-"));
    EXPECT_EQ(stored().tracks.size(), 2U);
    const auto lost = stored().tracks[1].id;
    EXPECT_EQ(answer({"recover", id, "--without-lost"})["lost"][0].text(), lost.text());
    EXPECT_EQ(stored().state, "ready");
    EXPECT_EQ(stored().tracks.size(), 1U);
}

TEST_F(Recover, PreparesInterruptedRecordings)
{
    makeVideo(store.directory(project.id) / "media/screen.mov", "testsrc2=size=64x36:rate=10:duration=3");
    writeSession(::getpid());
    expectFailure({"recover", id}, 1, "Termina esta grabación antes de recuperarla.");
    EXPECT_EQ(stored().state, "recording");

    writeSession(0);
    EXPECT_EQ(orvo({"recover", id}).status, 0);
    const auto recovered = stored();
    EXPECT_EQ(recovered.state, "ready");
    EXPECT_NEAR(recovered.duration, 3, 0.05);
    EXPECT_THAT(recovered.tracks[0].file, HasSubstr("-prepared-"));
    EXPECT_FALSE(fs::exists(session));
    EXPECT_EQ(orvo({"export", id, folder / "out.mp4"}).status, 0);
    EXPECT_EQ(answer({"recover", id})["state"].text(), "ready");
}

TEST_F(Recover, MarksTheProjectWhenRecoveryFails)
{
    expectFailure({"recover", id}, 1, "No se ha podido recuperar toda la grabación: Falta «media/screen.mov».");
    EXPECT_EQ(stored().state, "needs-recovery");
}

} // namespace

} // namespace orvo::test
