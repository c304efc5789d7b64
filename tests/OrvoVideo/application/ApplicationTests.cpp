#include "Desktop.h"
#include "TestSupport/AudioWorld.h"
#include "TestSupport/EventLoop.h"
#include "TestSupport/Media.h"
#include "TestSupport/PrivateBus.h"
#include "TestSupport/Projects.h"
#include "VideoCore/ProjectStore.h"

#include <QDBusInterface>
#include <QDBusReply>
#include <QUrl>
#include <algorithm>
#include <gmock/gmock.h>
#include <set>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;

class ApplicationTests : public testing::Test {
protected:
    ApplicationTests()
    {
        project.title = "Clase de prueba";
        project.duration = 6;
        project.width = 320;
        project.height = 180;
        project.tracks = {track(TrackKind::screen, "media/screen.mp4", 0, 6)};
        store.create(project);
        makeMedia(store.directory(project.id) / "media/screen.mp4",
            {"-f", "lavfi", "-i", "testsrc2=size=320x180:rate=30:duration=6", "-f", "lavfi", "-i", "sine=duration=6", "-c:v",
                "libx264", "-preset", "ultrafast", "-pix_fmt", "yuv420p"});
    }

    void TearDown() override
    {
        if (const char* pictures = std::getenv("ORVO_TEST_PICTURES"))
            desktop.photograph(
                fs::path(pictures) / (testing::UnitTest::GetInstance()->current_test_info()->name() + std::string(".png")));
    }

    EditState edit() const { return store.load(project.id).edit; }
    QString id() const { return QString::fromStdString(project.id.text()); }

    /// Waits until the document has exactly these cuts; false if it does not within the limit.
    bool hasCuts(const std::vector<TimeSpan>& cuts) const
    {
        return comesToHold([&] { return edit().cuts.items() == cuts; });
    }

    TemporaryFolder folder;
    ProjectStore store{folder / "library"};
    VideoProject project = emptyProject(6);
    Desktop desktop;
};

TEST_F(ApplicationTests, CutsAndExportsALessonWithTheKeyboardAlone)
{
    ASSERT_TRUE(desktop.startApplication(store.root(), {id()}));
    ASSERT_TRUE(desktop.focusWindow("Clase de prueba"));
    desktop.press({"Home", "i", "shift+Right", "o", "Delete"});
    ASSERT_TRUE(hasCuts({{0, 1}}));
    desktop.press({"ctrl+z"});
    ASSERT_TRUE(hasCuts({}));
    desktop.press({"ctrl+shift+z"});
    ASSERT_TRUE(hasCuts({{0, 1}}));
    desktop.press({"z"});
    ASSERT_TRUE(comesToHold([&] { return edit().events.size() == 1; }));

    desktop.press({"ctrl+e", "Return"}); // The sheet proposes the last choice.
    ASSERT_TRUE(desktop.focusWindow("Exportar vídeo"));
    const auto file = folder / "salida.mp4";
    desktop.press({"ctrl+a"});
    desktop.type(QString::fromStdString(file.string()));
    desktop.press({"Return"});
    ASSERT_TRUE(comesToHold([&] { return fs::exists(folder / "salida.srt"); }));
    EXPECT_NEAR(probe(file).videoDuration, 5, 0.04);

    ASSERT_TRUE(desktop.focusWindow("^Clase de prueba")); // The title begins with the progress during an export.
    desktop.press({"ctrl+q"});
    EXPECT_EQ(desktop.applicationEnd(), 0);
    EXPECT_EQ(edit().cuts.size(), 1U);
}

TEST_F(ApplicationTests, EditsTheTimelineWithThePointerAndKeepsEditsWhenKilled)
{
    ASSERT_TRUE(desktop.startApplication(store.root(), {id()}));
    ASSERT_TRUE(desktop.focusWindow("Clase de prueba"));
    desktop.drag(500, 650, 700, 650);
    desktop.press({"x"});
    ASSERT_TRUE(comesToHold([&] { return !edit().cuts.empty(); }));
    const auto cut = edit().cuts[0];
    EXPECT_GT(cut.start, 0.2);
    EXPECT_LT(cut.end, 5.8);
    EXPECT_GT(cut.duration(), 0.5);
    desktop.killApplication();

    ASSERT_TRUE(desktop.startApplication(store.root(), {id()}));
    ASSERT_TRUE(desktop.focusWindow("Clase de prueba"));
    EXPECT_EQ(edit().cuts.items(), std::vector{cut});
    desktop.press({"ctrl+q"});
    EXPECT_EQ(desktop.applicationEnd(), 0);
}

TEST_F(ApplicationTests, RecordsALessonWithTheGlobalShortcutsAlone)
{
    const AudioWorld audio;
    const auto recorded = [&] {
        auto projects = store.list();
        std::erase_if(projects, [&](const auto& other) { return other.id == project.id; });
        return projects.empty() ? VideoProject() : projects.front();
    };
    const auto lasts = [&](double seconds) { return comesToHold([&] { return recorded().duration >= seconds; }); };
    ASSERT_TRUE(desktop.startApplication(store.root()));
    ASSERT_TRUE(desktop.focusWindow("Orvo Video"));
    desktop.press({"ctrl+alt+super+r"});
    ASSERT_TRUE(lasts(1));
    EXPECT_EQ(recorded().state, ProjectState::recording);
    desktop.press({"ctrl+alt+super+z", "ctrl+alt+super+p"});
    const double paused = recorded().duration;
    ASSERT_TRUE(lasts(paused + 1));
    desktop.press({"ctrl+alt+super+p"});
    ASSERT_TRUE(lasts(paused + 3));
    desktop.press({"ctrl+alt+super+r"});
    ASSERT_TRUE(comesToHold([&] { return recorded().state == ProjectState::ready; }));
    EXPECT_TRUE(desktop.focusWindow("Grabación ·")) << "the editor opens the recording";

    const auto lesson = recorded();
    std::set<TrackKind> kinds;
    for (const auto& track : lesson.tracks) {
        kinds.insert(track.kind);
        EXPECT_TRUE(fs::exists(store.mediaURL(lesson, track.file))) << track.file;
    }
    EXPECT_EQ(kinds, (std::set{TrackKind::screen, TrackKind::microphone, TrackKind::system}));
    EXPECT_EQ(lesson.edit.cuts.size(), 1U);
    EXPECT_EQ(std::ranges::count(lesson.edit.events, PointerKind::zoom, &PointerEvent::kind), 1);
    EXPECT_NEAR(probe(store.mediaURL(lesson, "media/screen.mov")).videoDuration, lesson.duration, 0.3);
}

TEST_F(ApplicationTests, OpensFilesFromTheDesktopOverTheBus)
{
    const PrivateBus bus;
    ASSERT_TRUE(desktop.startOnBus(bus.address()));
    const auto file = folder / "una clase.mp4";
    fs::copy_file(store.directory(project.id) / "media/screen.mp4", file);
    const auto session = QDBusConnection::connectToBus(bus.address(), "desktop");
    QDBusInterface application("es.orvo.video", "/es/orvo/video", "org.freedesktop.Application", session);
    ASSERT_TRUE(comesToHold([&] { return application.isValid(); }));
    const QStringList uris{QUrl::fromLocalFile(QString::fromStdString(file.string())).toString(QUrl::FullyEncoded)};
    const QDBusReply<void> opened = application.call("Open", uris, QVariantMap{{"activation-token", "x"}});
    EXPECT_TRUE(opened.isValid()) << opened.error().message().toStdString();
    EXPECT_TRUE(desktop.focusWindow("una clase"));
    const ProjectStore usual(desktop.usualLibrary());
    EXPECT_TRUE(comesToHold([&] { return usual.list().size() == 1; }));
    EXPECT_TRUE(QDBusReply<void>(application.call("Activate", QVariantMap{})).isValid());
    QDBusConnection::disconnectFromBus("desktop");
}

TEST(ApplicationAnswers, RepliesInSpanishWithoutADisplay)
{
    struct Case {
        QStringList arguments;
        int status;
        QString answer; ///< How the output begins.
    };
    const Case cases[]{
        {{"--help"}, 0, "Graba, edita"},
        {{"-h"}, 0, "Graba, edita"},
        {{"--version"}, 0, "Orvo Video 0."},
        {{"película.mp4", "-V"}, 0, "Orvo Video 0."},
        {{"--vesion"}, 2, "orvo-video: No existe la opción «--vesion»."},
        {{"-style", "Fusion", "-x=1"}, 2, "orvo-video: No existe la opción «-x»."},
        {{}, 1, "orvo-video: No hay ninguna pantalla"},
        {{"--", "--help"}, 1, "orvo-video: No hay ninguna pantalla"},
    };
    auto variables = QProcessEnvironment::systemEnvironment();
    for (const auto* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
        variables.remove(name);
    for (const auto& [arguments, status, answer] : cases) {
        QProcess application;
        application.setProcessEnvironment(variables);
        application.start(ORVO_APPLICATION, arguments);
        ASSERT_TRUE(application.waitForFinished(60'000)) << arguments.join(' ').toStdString();
        EXPECT_EQ(application.exitCode(), status) << arguments.join(' ').toStdString();
        const auto text = status == 0 ? application.readAllStandardOutput() : application.readAllStandardError();
        EXPECT_TRUE(QString::fromUtf8(text).startsWith(answer)) << text.toStdString();
    }
}

} // namespace

} // namespace orvo::test
