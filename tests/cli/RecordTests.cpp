#include "CliFixture.h"
#include "TestSupport/Media.h"
#include "TestSupport/PatternWindow.h"
#include "TestSupport/TimePattern.h"
#include "TestSupport/VirtualDisplay.h"
#include "TestSupport/Waiting.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class Record : public CliFixture {
protected:
    Record()
    {
        display.enter();
        setup.environment["WAYLAND_DISPLAY"] = "";
        // Hides the audio devices of the machine.
        setup.environment["XDG_RUNTIME_DIR"] = folder.path();
        setup.environment["PULSE_SERVER"] = "unix:" + (folder / "no-server").string();
    }

    /// The newest project, which is being recorded.
    std::optional<VideoProject> recording() const
    {
        const auto projects = store.list();
        const auto found = std::ranges::find_if(projects, [this](const auto& each) { return each.id != project.id; });
        return found == projects.end() ? std::nullopt : std::optional(*found);
    }

    /// Waits until the document reports this duration.
    [[nodiscard]] bool recordedFor(double seconds) const
    {
        return pollUntil([&] {
            const auto now = recording();
            return now && now->duration >= seconds;
        });
    }

    /// Waits until every track of the recording has a playable fragment.
    [[nodiscard]] bool hasFragments() const
    {
        const auto hasFragment = [this](const MediaTrack& track) {
            return readFile(store.mediaURL(*recording(), track.file)).contains("moof");
        };
        return pollUntil([&] { return std::ranges::all_of(recording()->tracks, hasFragment); });
    }

    VirtualDisplay display{"640x360"};
};

TEST_F(Record, ListsSources)
{
    const PatternWindow pattern({.x = 10, .y = 20, .width = 300, .height = 200}, {"--title", "Una lección"});
    const auto sources = answer({"sources"});
    EXPECT_EQ(sources["displays"].size(), 1U);
    EXPECT_EQ(sources["displays"][0]["label"].text(), "Pantalla 1 · 640×360");
    EXPECT_EQ(sources["windows"][0]["label"].text(), "Pattern — Una lección");
    EXPECT_EQ(sources["windows"][0]["width"].number(), 300);
    EXPECT_EQ(sources["microphones"].size(), 0U);
    EXPECT_THAT(orvo({"sources"}).out, HasSubstr("Pantalla 1 · 640×360"));
}

TEST_F(Record, RecordsUntilTheLimitOrASignal)
{
    const PatternWindow pattern({});
    const auto recorded = answer({"record", "--seconds", "2", "--no-microphone", "--title", "Clase"});
    const auto saved = store.load(*Uuid::parse(recorded["id"].text()));
    EXPECT_EQ(saved.state, "ready");
    EXPECT_EQ(saved.title, "Clase");
    EXPECT_NEAR(saved.duration, 2, 0.3);
    EXPECT_EQ(saved.tracks.size(), 2U) << "records system audio even when it is silent";
    EXPECT_EQ(orvo({"validate", recorded["id"].text()}).status, 0);
    EXPECT_EQ(orvo({"export", recorded["id"].text(), folder / "out.mp4"}).status, 0);
    fs::remove_all(store.directory(saved.id));

    Program program({"record", "--no-microphone", "--json"}, setup);
    ASSERT_TRUE(recordedFor(2));
    program.signal(SIGINT);
    const auto outcome = program.end();
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(JsonAnswer(outcome.out)["state"].text(), "ready");
}

TEST_F(Record, ReportsWhatCannotBeRecorded)
{
    struct Case {
        std::vector<std::string> arguments;
        int status;
        std::string text;
    };
    for (const auto& each : {
             Case{{"--source", "d99999"}, 1, "Selecciona una pantalla o ventana disponible."},
             Case{{"--source", "w1"}, 1, "Selecciona una pantalla o ventana disponible."},
             Case{{"--region", "0,0,640"}, 2, "--region necesita cuatro números"},
             Case{{"--region", "0,0,20,300"}, 2, "más de 20 píxeles"},
             Case{{"--region", "2000,0,300,300"}, 1, "No se encuentra la pantalla seleccionada."},
             Case{{"--seconds", "0"}, 2, "--seconds"},
             Case{{"--seconds", "1"}, 0, "El micrófono no responde: se graba sin él."},
             Case{{"--seconds", "1", "--no-microphone", "--camera"}, 1, "No hay una cámara disponible."},
         }) {
        auto arguments = each.arguments;
        arguments.insert(arguments.begin(), "record");
        const auto outcome = orvo(arguments);
        EXPECT_EQ(outcome.status, each.status) << each.text;
        EXPECT_THAT(outcome.err, HasSubstr(each.text));
    }
    setup.environment["DISPLAY"] = ":99999";
    EXPECT_THAT(orvo({"record"}).err, HasSubstr("No hay una pantalla que grabar"));
}

TEST_F(Record, RefusesAnXServerBesideWayland)
{
    setup.environment["WAYLAND_DISPLAY"] = "wayland-0";
    EXPECT_EQ(answer({"sources"})["displays"].size(), 0U);
    EXPECT_THAT(orvo({"sources"}).err, HasSubstr("este es Wayland"));
    for (const std::vector<std::string>& source : {std::vector<std::string>{}, {"--source", "w1"}}) {
        std::vector<std::string> arguments{"record", "--seconds", "1", "--no-microphone"};
        arguments.insert(arguments.end(), source.begin(), source.end());
        expectFailure(arguments, 1, "solo se graban escritorios X11");
    }
    EXPECT_EQ(store.list().size(), 1U) << "leaves no project behind";
}

TEST_F(Record, RecoversKilledRecordings)
{
    const PatternWindow pattern({});
    for (const double after : {0.01, 5.2}) {
        {
            Program program({"record", "--no-microphone"}, setup);
            ASSERT_TRUE(recordedFor(after));
            ASSERT_TRUE(hasFragments());
            program.signal(SIGKILL);
            program.end();
        }
        const auto left = *recording();
        EXPECT_EQ(left.state, "recording");
        const auto reference = left.id.text();
        EXPECT_EQ(answer({"recover", reference})["state"].text(), "ready");
        const auto recovered = *recording();
        EXPECT_GT(recovered.duration, std::max(0.0, after - 2.5));
        for (const auto& track : recovered.tracks) {
            const auto probed = probe(store.mediaURL(recovered, track.file));
            EXPECT_GT(std::max(probed.videoDuration, probed.audioDuration), after - 2.5) << textOf(track.kind);
        }
        EXPECT_EQ(orvo({"export", reference, folder / "out.mp4"}).status, 0);
        fs::remove_all(store.directory(left.id));
    }
}

} // namespace

} // namespace orvo::test
