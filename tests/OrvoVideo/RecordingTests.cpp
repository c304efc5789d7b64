#include "DisplayRecordingFixture.h"
#include "TestSupport/AudioWorld.h"
#include "TestSupport/Media.h"
#include "VideoCore/CaptureSession.h"
#include "VideoCore/PointerLog.h"

#include <QProcess>
#include <algorithm>

namespace orvo::test {

namespace {

using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;
using testing::SizeIs;

namespace fs = std::filesystem;

using RecordingTests = DisplayRecordingFixture;

TEST_F(RecordingTests, CountsDownPausesMarksAndOpensTheRecordingAtItsEnd)
{
    const auto other = openNew(5, "Otro");
    begin();
    select(other);
    ASSERT_TRUE(display.xdotool({"mousemove", "160", "90"}));
    std::vector<Recorder::Phase> phases;
    QObject::connect(model->recorder(), &Recorder::phaseChanged, model->recorder(),
        [&] { phases.push_back(model->recorder()->phase()); });
    model->startRecording();
    EXPECT_TRUE(model->busy());
    model->startRecording(); // Ignored.
    ASSERT_TRUE(recordsSoon());
    using enum Recorder::Phase;
    EXPECT_THAT(phases, ElementsAre(Choosing, Framing, CountingThree, CountingTwo, CountingOne, Starting, Recording));
    phases.clear();
    EXPECT_THAT(statuses,
        ElementsAre("La grabación empieza en 3…", "La grabación empieza en 2…", "La grabación empieza en 1…", "Grabando"));
    EXPECT_TRUE(model->capturing());
    EXPECT_FALSE(model->canUndo());
    const auto id = project().id;
    EXPECT_NE(id, other.id);
    EXPECT_EQ(onDisk().state, ProjectState::recording);
    EXPECT_TRUE(fs::exists(projectFolder() / CaptureSession::fileName));
    EXPECT_FALSE(model->prepareToQuit()) << "quitting is refused while recording";
    model->clearError();
    setTitle("nein");
    EXPECT_NE(project().title, "nein") << "edits are ignored while recording";

    ASSERT_TRUE(lasts(1));
    model->recorder()->markZoom();
    const double pausedAt = model->recorder()->time();
    model->togglePause();
    EXPECT_TRUE(model->isPaused());
    EXPECT_EQ(model->status(), "Grabación en pausa");
    model->recorder()->markZoom(); // Ignored.
    ASSERT_TRUE(lasts(pausedAt + 1.5));
    model->togglePause();
    EXPECT_FALSE(model->isPaused());
    EXPECT_EQ(model->status(), "Grabando");
    ASSERT_TRUE(lasts(pausedAt + 2.5));

    model->stopRecording();
    model->stopRecording(); // Ignored.
    ASSERT_TRUE(idleSoon());
    EXPECT_THAT(phases, ElementsAre(Paused, Recording, Stopping, Idle));
    EXPECT_EQ(model->status(), "Grabación guardada");
    EXPECT_EQ(model->errorMessage(), "");
    ASSERT_TRUE(model->hasProject());
    EXPECT_EQ(project().id, id);
    EXPECT_EQ(project(), onDisk()) << "the open project equals its document";
    EXPECT_EQ(project().state, ProjectState::ready);
    EXPECT_FALSE(fs::exists(projectFolder() / CaptureSession::fileName));
    ASSERT_THAT(project().edit.cuts, SizeIs(1));
    EXPECT_NEAR(project().edit.cuts[0].start, pausedAt, 0.4);
    EXPECT_NEAR(project().edit.cuts[0].duration(), 1.5, 0.4);
    const auto zooms = std::ranges::count(project().edit.events, PointerKind::zoom, &PointerEvent::kind);
    EXPECT_EQ(zooms, 1);
    EXPECT_NEAR(project().edit.events[0].x, 0.25, 1e-9);
    EXPECT_NEAR(project().edit.events[0].y, 0.25, 1e-9);
    EXPECT_THAT(PointerLog::read(projectFolder()).value(), SizeIs(project().edit.events.size()));
    ASSERT_THAT(project().tracks, SizeIs(1));
    const auto facts = probe(store.mediaURL(project(), project().tracks[0].file));
    EXPECT_EQ(facts.width, 640);
    EXPECT_EQ(facts.height, 360);
    EXPECT_NEAR(facts.videoDuration, project().duration, 0.3);
    EXPECT_TRUE(comesToHold([&] { return model->projects().size() == 2; }));
}

TEST_F(RecordingTests, KeepsEditsMadeAtTheStartAndEndOfARecording)
{
    const auto other = openNew(5, "Otro");
    begin();
    select(other);
    QObject::connect(model->recorder(), &Recorder::phaseChanged, model.get(), [this] {
        if (model->recorder()->phase() == Recorder::Phase::Starting) // After the save that precedes the start.
            QMetaObject::invokeMethod(model.get(), [this] { setTitle("editado al empezar"); }, Qt::QueuedConnection);
    });
    model->startRecording();
    ASSERT_TRUE(recordsSoon());
    EXPECT_TRUE(comesToHold([&] { return onDisk(other.id).title == "editado al empezar"; }));
    EXPECT_FALSE(fs::exists(projectFolder() / ProjectDocuments::unsavedEditsName));
    ASSERT_TRUE(lasts(1));

    QObject::connect(model->recorder(), &Recorder::phaseChanged, model.get(), [this] {
        if (!model->isRecording())
            setTitle("editado al terminar");
    });
    model->stopRecording();
    ASSERT_TRUE(idleSoon());
    ASSERT_TRUE(saved());
    EXPECT_EQ(onDisk().title, "editado al terminar");
    EXPECT_EQ(onDisk().state, ProjectState::ready) << "the last checkpoint does not overwrite the result";
    EXPECT_NEAR(probe(store.mediaURL(project(), "media/screen.mov")).videoDuration, onDisk().duration, 0.3);
    EXPECT_EQ(model->errorMessage(), "");
}

TEST_F(RecordingTests, AsksForTheRegionFirst)
{
    begin();
    model->recorder()->capture()->setMode("region");
    model->startRecording();
    ASSERT_TRUE(idleSoon());
    EXPECT_THAT(model->projects(), IsEmpty()) << "a cancelled choice creates no project";
    EXPECT_THAT(statuses, IsEmpty());
    EXPECT_EQ(model->errorMessage(), "");

    picker->region = Rect{100, 50, 201, 120};
    model->startRecording();
    ASSERT_TRUE(recordsSoon());
    EXPECT_THAT(picker->asked, testing::Each(Field(&CaptureSource::rect, Rect{0, 0, 640, 360})));
    EXPECT_EQ(model->recorder()->captured()->area, (Rect{100, 50, 201, 120}));
    model->stopRecording();
    ASSERT_TRUE(idleSoon());
    EXPECT_EQ(project().width, 200);
    EXPECT_EQ(project().height, 120);

    picker->hasScreen = false;
    model->startRecording();
    ASSERT_TRUE(idleSoon());
    EXPECT_EQ(model->errorMessage(), "No se encuentra la pantalla seleccionada.");
    EXPECT_EQ(model->status(), "No se ha podido empezar la grabación");
    EXPECT_TRUE(comesToHold([&] { return model->projects().size() == 1; }));
}

TEST_F(RecordingTests, CancelsTheCountdown)
{
    begin();
    model->startRecording();
    ASSERT_TRUE(comesToHold([&] { return model->recorder()->countdown() == 2; }));
    model->cancel();
    ASSERT_TRUE(idleSoon());
    model->startRecording();
    ASSERT_TRUE(comesToHold([&] { return model->recorder()->countdown() == 3; }));
    quit(); // During the countdown.
    EXPECT_THAT(store.list(), IsEmpty());
}

TEST_F(RecordingTests, KeepsTheRecordingWhenQuitting)
{
    begin();
    model->startRecording();
    ASSERT_TRUE(recordsSoon());
    ASSERT_TRUE(lasts(1));
    const auto id = project().id;
    quit();
    EXPECT_EQ(onDisk(id).state, ProjectState::ready);
    EXPECT_GT(probe(store.mediaURL(onDisk(id), "media/screen.mov")).videoDuration, 0.5);
}

TEST_F(RecordingTests, RunsNoOtherOperationThatWouldBlockTheEnd)
{
    begin();
    model->startRecording();
    ASSERT_TRUE(recordsSoon());
    EXPECT_FALSE(model->idle());
    panels->choice = folder / "salida.mp4";
    model->exportVideo();
    bool isRun = false;
    model->perform([&](WorkControl) -> QCoro::Task<> {
        isRun = true;
        co_return;
    });
    EXPECT_FALSE(isRun);
    EXPECT_FALSE(model->busy());
    model->stopRecording();
    ASSERT_TRUE(idleSoon());
    EXPECT_EQ(project().state, ProjectState::ready);
    EXPECT_TRUE(model->idle());
}

TEST_F(RecordingTests, ReportsAnErrorFromTheStartOfARecording)
{
    begin();
    auto& choice = *model->recorder()->capture();
    emit choice.revoked();
    EXPECT_EQ(model->errorMessage(), "") << "ignored without a recording";
    model->startRecording();
    ASSERT_TRUE(comesToHold([&] { return model->recorder()->countdown() == 1; }));
    emit choice.revoked();
    ASSERT_TRUE(idleSoon());
    EXPECT_EQ(model->errorMessage(), ScreenCast::revokedText());
    EXPECT_EQ(project().state, ProjectState::ready) << "the partial recording is kept";
}

TEST_F(RecordingTests, ReportsWhyAStartFails)
{
    begin();
    auto options = model->options();
    options.camera = true;
    options.cameraDevice = "/dev/none";
    model->setOptions(options);
    model->startRecording();
    ASSERT_TRUE(idleSoon());
    EXPECT_EQ(model->errorMessage(), "No hay una cámara disponible.");
    EXPECT_EQ(model->status(), "No se ha podido empezar la grabación");
    ASSERT_TRUE(comesToHold(
        [&] { return model->projects().size() == 1 && model->projects()[0].state == ProjectState::needsRecovery; }));
    EXPECT_FALSE(fs::exists(store.directory(model->projects()[0].id) / CaptureSession::fileName));
}

TEST_F(RecordingTests, ReportsASilentMicrophoneAfterFiveSeconds)
{
    const AudioWorld audio; // Its microphone is silent so far.
    begin();
    auto options = model->options();
    options.microphone = true;
    model->setOptions(options);
    const auto& recorder = *model->recorder();
    model->startRecording();
    ASSERT_TRUE(recordsSoon());
    EXPECT_TRUE(recorder.recordsMicrophone());
    ASSERT_TRUE(comesToHold([&] { return recorder.microphoneUnheard(); }));
    EXPECT_GE(recorder.time(), 4.9);
    EXPECT_EQ(model->status(), "No se oye el micrófono. Comprueba que no está silenciado.");
    model->togglePause();
    EXPECT_TRUE(comesToHold([&] { return !recorder.microphoneUnheard(); })) << "silence is allowed during a pause";
    EXPECT_EQ(model->status(), "Grabación en pausa");
    model->togglePause();
    ASSERT_TRUE(comesToHold([&] { return recorder.microphoneUnheard(); }));

    QProcess voice;
    voice.start("ffmpeg",
        {"-v", "error", "-f", "lavfi", "-i", "sine=frequency=300:duration=60", "-f", "pulse", "-device", "micfeed",
            "voice"});
    EXPECT_TRUE(comesToHold([&] { return !recorder.microphoneUnheard() && recorder.microphoneLevel() > 0.5; }));
    EXPECT_EQ(model->status(), "Grabando");
    model->stopRecording();
    ASSERT_TRUE(idleSoon());
    voice.kill();
    voice.waitForFinished();
}

TEST_F(RecordingTests, ListsTheSourcesOfTheModeAndKeepsTheChoice)
{
    begin();
    auto& choice = *model->recorder()->capture();
    const auto list = [&] {
        choice.loadSources();
        return comesToHold([&] { return choice.sources()->count() > 0; });
    };
    ASSERT_TRUE(list());
    EXPECT_EQ(choice.sources()->get(0).value("label"), "Pantalla 1 · 640×360");
    EXPECT_EQ(choice.sourceID(), choice.sources()->get(0).value("sourceId"));
    EXPECT_EQ(choice.sourceError(), "");
    EXPECT_EQ(choice.pointerNote(), "") << "no limitations on X11";
    choice.setSourceID("d4711");
    choice.loadSources();
    EXPECT_TRUE(comesToHold([&] { return choice.sourceID() == choice.sources()->get(0).value("sourceId"); }));

    choice.setMode("window");
    choice.loadSources();
    EXPECT_TRUE(comesToHold([&] { return choice.sources()->count() == 0; }));
    EXPECT_EQ(choice.sourceID(), "");
    model->startRecording();
    ASSERT_TRUE(idleSoon());
    EXPECT_EQ(model->errorMessage(), "Selecciona una pantalla o ventana disponible.");
    EXPECT_THAT(store.list(), IsEmpty());

    choice.setMode("screen");
    ASSERT_TRUE(list());
    const auto chosen = choice.sourceID();
    EXPECT_NE(chosen, "");
    choice.setMode("tab");
    choice.loadSources();
    EXPECT_EQ(choice.sources()->count(), 0);
    EXPECT_EQ(choice.sourceID(), chosen) << "the mode \"tab\" keeps the chosen screen";
    choice.setMode("screen");
    qputenv("DISPLAY", ":4711");
    choice.loadSources();
    EXPECT_TRUE(comesToHold([&] { return !choice.sourceError().isEmpty(); }));
    EXPECT_EQ(choice.sourceError(),
        "Activa el permiso de grabación de pantalla de Orvo Video en Ajustes del Sistema y pulsa Actualizar.");
    EXPECT_EQ(choice.sources()->count(), 0);
}

} // namespace

} // namespace orvo::test
