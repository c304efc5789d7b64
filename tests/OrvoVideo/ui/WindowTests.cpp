#include "OrvoVideo/ui/Appearance.h"
#include "TestSupport/Media.h"
#include "TestSupport/SmallDisk.h"
#include "VideoCore/Error.h"
#include "WindowFixture.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QQmlEngine>
#include <QSignalSpy>
#include <fstream>
#include <set>
#include <utility>

namespace orvo::test {

namespace {

using testing::Contains;

class WindowTests : public WindowFixture { };

TEST_F(WindowTests, ImportsAndExportsAMovie)
{
    show();
    EXPECT_TRUE(control(QAccessible::StaticText, "Aún no hay vídeos"));
    EXPECT_FALSE(control(QAccessible::Button, "Exportar"));

    panels->choice = movie();
    click(QAccessible::Button, "Importar un vídeo");
    ASSERT_TRUE(waitUntil([&] { return model->hasProject() && !model->busy(); }));
    EXPECT_EQ(project().tracks.size(), 1U);
    EXPECT_TRUE(waitUntil([&] { return control(QAccessible::ListItem, "Clase 3") != nullptr; }));
    EXPECT_FALSE(control(QAccessible::Button, "Importar un vídeo")) << "hides the welcome page";
    EXPECT_EQ(view().title(), "Clase 3 — Orvo Video");

    panels->choice = folder / "resultado.mp4";
    key(Qt::Key_E, Qt::ControlModifier);
    click(QAccessible::Button, "Exportar…");
    ASSERT_TRUE(waitUntil([&] { return model->busy(); }));
    ASSERT_TRUE(waitUntil([&] { return !model->busy(); }));
    EXPECT_TRUE(control(QAccessible::StatusBar, "Vídeo y subtítulos exportados"));
    EXPECT_NEAR(probe(*panels->choice).videoDuration, 2, 0.15);
    click(QAccessible::Button, "Mostrar en la carpeta");
    EXPECT_THAT(workspace->revealed, Contains(*panels->choice));
    click(QAccessible::Button, "Abrir");
    EXPECT_THAT(workspace->openedFiles, Contains(*panels->choice));
    click(QAccessible::Button, "Cerrar el aviso");
    EXPECT_TRUE(waitUntil([&] { return !control(QAccessible::Button, "Abrir"); }));
}

TEST_F(WindowTests, EditsTheTitleInPlace)
{
    const auto lesson = add(VideoProject::make("Antes"));
    show();
    window->open({QString::fromStdString(lesson.id.text())});
    ASSERT_TRUE(waitUntil([&] { return model->hasProject(); }));

    click(QAccessible::EditableText, "Título");
    key(Qt::Key_A, Qt::ControlModifier);
    type("Después");
    EXPECT_EQ(project().title, "Antes") << "applies the title on Return";
    key(Qt::Key_Return);
    EXPECT_EQ(project().title, "Después");
    EXPECT_TRUE(control(QAccessible::ListItem, "Después")) << "the library follows";
    ASSERT_TRUE(saved());
    EXPECT_EQ(onDisk().title, "Después");

    key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(project().title, "Antes");
    key(Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(project().title, "Después");

    click(QAccessible::EditableText, "Título");
    type("!!");
    key(Qt::Key_Escape);
    EXPECT_EQ(project().title, "Después") << "Escape leaves the title alone";
    click(QAccessible::EditableText, "Título");
    key(Qt::Key_Return);
    EXPECT_TRUE(model->canUndo());
    model->undo();
    EXPECT_FALSE(model->canUndo()) << "an unchanged title creates no undo step";
}

TEST_F(WindowTests, ShowsTheCauseOfALongFailureAndCopiesAllOfIt)
{
    show();
    QString report = "El proceso de vídeo falló: ffmpeg version 7.1\n";
    for (int i = 0; i < 60; ++i)
        report += "  configuration line " + QString::number(i) + "\n";
    report += "Error writing trailer: No space left on device\n";
    model->perform([text = report.toStdString()](WorkControl) -> QCoro::Task<> {
        throw captureError(text);
        co_return;
    });
    ASSERT_TRUE(waitUntil([&] {
        return control(QAccessible::StaticText, "El proceso de vídeo falló: Error writing trailer: No space left on device");
    }));
    EXPECT_TRUE(
        control(QAccessible::StatusBar, "El proceso de vídeo falló: Error writing trailer: No space left on device"));
    const auto* details = control(QAccessible::EditableText, "Detalles");
    ASSERT_TRUE(details);
    EXPECT_LT(control(QAccessible::Button, "Aceptar")->mapToScene({0, 0}).y(), view().height());
    click(QAccessible::Button, "Copiar");
    EXPECT_EQ(QGuiApplication::clipboard()->text(), report);
    // The keyboard reaches the last lines too.
    const auto* flickable = details->parentItem()->parentItem();
    EXPECT_TRUE(waitUntil([&] { // A panel that is still opening takes the focus once more.
        QMetaObject::invokeMethod(control(QAccessible::EditableText, "Detalles"), "forceActiveFocus");
        key(Qt::Key_Home, Qt::ControlModifier);
        const auto first = flickable->property("contentY").toReal();
        key(Qt::Key_End, Qt::ControlModifier);
        return first <= 0 && flickable->property("contentY").toReal() > 0;
    }));
    key(Qt::Key_Escape);
    EXPECT_TRUE(waitUntil([&] { return model->errorMessage().isEmpty(); }));
}

TEST_F(WindowTests, AppliesATypedTitleBeforeTheProjectIsUsed)
{
    const auto lesson = add(VideoProject::make("Antes"));
    const auto next = add(VideoProject::make("Siguiente"));
    showWith(lesson);
    const auto typeTitle = [&](const QString& title) {
        click(QAccessible::EditableText, "Título");
        key(Qt::Key_A, Qt::ControlModifier);
        type(title);
    };
    typeTitle("Exportada");
    model->update([](VideoProject& project) { project.duration = 3; });
    EXPECT_EQ(control(QAccessible::EditableText, "Título")->property("text"), "Exportada");
    EXPECT_EQ(project().title, "Antes");
    key(Qt::Key_E, Qt::ControlModifier);
    EXPECT_TRUE(waitUntil([&] { return control(QAccessible::StaticText, "Exportada") != nullptr; }))
        << "shows it in the sheet";
    key(Qt::Key_Escape);
    model->exportVideo();
    ASSERT_TRUE(waitUntil([&] { return panels->asked == 1; }));
    EXPECT_THAT(panels->proposedNames, testing::ElementsAre("Exportada.mp4"));

    typeTitle("Publicada");
    model->publish();
    EXPECT_EQ(project().title, "Publicada");
    model->cancel();
    ASSERT_TRUE(waitUntil([&] { return !model->busy(); }));
    model->clearError();

    typeTitle("Dejada");
    select(next);
    EXPECT_EQ(project().title, "Siguiente");
    EXPECT_EQ(onDisk(lesson.id).title, "Dejada");

    typeTitle("Cerrada");
    EXPECT_TRUE(view().close());
    EXPECT_EQ(onDisk(next.id).title, "Cerrada");
}

TEST_F(WindowTests, NamesUndoStepsAndMovesThroughThem)
{
    showWith(withMovie("Uno"));
    model->update([](VideoProject& project) {
        project.edit.words = SharedList<TranscriptWord>{word("a", 0, 0.2), word("b", 0.2, 0.4), word("c", 0.4, 0.6)};
    });
    model->update([](VideoProject& project) { project.edit.cuts = {{0, 0.6}}; });
    ASSERT_TRUE(control(QAccessible::Button, "Deshacer: cortar 3 palabras"));
    click(QAccessible::Button, "Deshacer: cortar 3 palabras");
    EXPECT_TRUE(control(QAccessible::Button, "Rehacer: cortar 3 palabras"));
    EXPECT_TRUE(control(QAccessible::Button, "Deshacer: transcribir"));

    key(Qt::Key_H, Qt::ControlModifier);
    const auto there = [&](const QString& name) {
        return waitUntil([&] { return control(QAccessible::ListItem, name) != nullptr; });
    };
    ASSERT_TRUE(there("Cortar 3 palabras, deshecho"));
    EXPECT_TRUE(there("Transcribir, versión actual"));
    key(Qt::Key_Down);
    key(Qt::Key_Return);
    EXPECT_EQ(project().edit.cuts.size(), 1);
    EXPECT_TRUE(there("Cortar 3 palabras, versión actual"));
    view().grabWindow(); // Draws the panel, which then stays in place.
    click(QAccessible::ListItem, "Principio");
    EXPECT_TRUE(waitUntil([&] { return project().edit.words.empty(); }));
    key(Qt::Key_Escape);

    // Each project keeps its own history.
    const auto left = project();
    select(withMovie("Dos"));
    EXPECT_FALSE(control(QAccessible::Button, "Historial")->isEnabled());
    select(left);
    EXPECT_TRUE(control(QAccessible::Button, "Rehacer: transcribir"));
}

TEST_F(WindowTests, KeepsALongTitleWhenItIsClicked)
{
    const auto lesson = showWith(add(VideoProject::make(std::string(300, 'a'))));
    click(QAccessible::EditableText, "Título");
    key(Qt::Key_Tab);
    EXPECT_EQ(project().title, lesson.title);
    EXPECT_FALSE(model->canUndo());
}

TEST_F(WindowTests, CutsWithTypedNumbers)
{
    auto lesson = VideoProject::make("Demo");
    lesson.duration = 10;
    add(lesson);
    showWith(lesson);
    click(QAccessible::SpinBox, "Final");
    key(Qt::Key_A, Qt::ControlModifier);
    type("7,5");
    click(QAccessible::Button, "Cortar selección"); // The button takes no focus.
    EXPECT_THAT(project().edit.cuts, testing::ElementsAre(TimeSpan{0, 7.5}));
}

TEST_F(WindowTests, DisablesEditingWhileRecording)
{
    const auto lesson = add(VideoProject::make("Demo"));
    const QString reason = "Mientras se graba no se puede editar. Pulsa «Terminar» para editar este vídeo.";
    showWith(lesson);
    const auto enabled = [&] {
        std::set<bool> states;
        for (const auto& [role, name] :
            {std::pair{QAccessible::EditableText, "Título"}, {QAccessible::EditableText, "Buscar en el texto"},
                {QAccessible::ComboBox, "Idioma"}, {QAccessible::Button, "Inicio aquí"}, {QAccessible::SpinBox, "Inicio"},
                {QAccessible::Slider, "Línea de tiempo"}}) {
            if (const auto* found = control(role, name))
                states.insert(found->isEnabled());
        }
        for (const auto* action : view().findChildren<QObject*>()) {
            if (action->property("text").toString().remove('&') == "Añadir zoom en este punto"
                && action->property("shortcut").isValid())
                states.insert(action->property("enabled").toBool());
        }
        return states;
    };
    EXPECT_THAT(enabled(), testing::ElementsAre(true));
    EXPECT_FALSE(control(QAccessible::StaticText, reason));
    setPhase(Recorder::Phase::Recording);
    EXPECT_THAT(enabled(), testing::ElementsAre(false));
    EXPECT_TRUE(control(QAccessible::StaticText, reason));
    setPhase(Recorder::Phase::Idle);
    EXPECT_THAT(enabled(), testing::ElementsAre(true));
    EXPECT_FALSE(control(QAccessible::StaticText, reason));
    key(Qt::Key_Z);
    EXPECT_EQ(project().edit.events.size(), 1U) << "the editor has the focus again";
}

TEST_F(WindowTests, ShowsAFailureUntilItIsAcknowledged)
{
    show();
    const auto file = folder / "no.mp4";
    std::ofstream(file) << "no es un vídeo";
    panels->choice = file;
    click(QAccessible::Button, "Importar");
    ASSERT_TRUE(waitUntil([&] { return control(QAccessible::Button, "Aceptar") != nullptr; }));
    EXPECT_FALSE(model->errorMessage().isEmpty());
    EXPECT_TRUE(control(QAccessible::StaticText, model->errorMessage()));
    ASSERT_TRUE(waitUntil([&] { return focusName() == "Aceptar"; }));
    key(Qt::Key_Return);
    EXPECT_TRUE(waitUntil([&] { return control(QAccessible::Button, "Aceptar") == nullptr; }));
    EXPECT_TRUE(model->errorMessage().isEmpty());
    EXPECT_TRUE(control(QAccessible::StatusBar, "No se ha completado la operación"));

    // A second failure is shown too.
    click(QAccessible::Button, "Importar");
    EXPECT_TRUE(waitUntil([&] { return control(QAccessible::Button, "Aceptar") != nullptr; }));
    key(Qt::Key_Escape);
    EXPECT_TRUE(waitUntil([&] { return model->errorMessage().isEmpty(); }));
}

TEST_F(WindowTests, RecoversWithoutALostTrack)
{
    auto recording = withMovie("Interrumpida");
    recording.state = ProjectState::needsRecovery;
    recording.tracks.edit().push_back(track(TrackKind::microphone, "media/microphone.webm", 0, 2));
    std::ofstream(store.mediaURL(recording, "media/microphone.webm")).flush();
    store.save(recording);
    showWith(recording);
    const QString question = "Falta una parte de la grabación";
    const auto asked = [&] { return control(QAccessible::AlertMessage, question) != nullptr; };
    for (const bool goesOn : {false, true}) {
        click(QAccessible::Button, "Recuperar grabación");
        ASSERT_TRUE(waitUntil([&] { return asked() && model->idle(); }));
        click(QAccessible::Button, goesOn ? "Seguir sin: Micrófono" : "Ahora no");
        ASSERT_TRUE(waitUntil([&] { return !asked() && model->idle(); }));
        EXPECT_EQ(project().state, goesOn ? "ready" : "needs-recovery");
        EXPECT_EQ(project().tracks.size(), goesOn ? 1U : 2U);
    }
}

TEST_F(WindowTests, LooksForFfmpegAgainWhenTheApplicationComesToTheFront)
{
    start();
    const QSignalSpy looks(model->installation(), &AppInstallation::toolsChanged);
    emit qGuiApp->applicationStateChanged(Qt::ApplicationActive);
    EXPECT_EQ(looks.size(), 1);
}

TEST_F(WindowTests, AsksAgainAfterARefusedExit)
{
    showWith(add(VideoProject::make("Demo")));
    const Answer<int> end;
    model->perform([end](WorkControl) -> QCoro::Task<> { co_await end; });
    {
        const FileSizeLimit full(100);
        setTitle("no cabe");
        EXPECT_FALSE(view().close());
        click(QAccessible::Button, "Cancelar la operación y salir");
        click(QAccessible::Button, "Aceptar");
        ASSERT_TRUE(waitUntil([&] { return control(QAccessible::Button, "Aceptar") == nullptr; }));
        ASSERT_TRUE(view().isVisible()) << "stays open while the edits are unsaved";
    }
    EXPECT_FALSE(view().close());
    click(QAccessible::Button, "Seguir aquí");
    ASSERT_TRUE(waitUntil([&] { return control(QAccessible::Button, "Seguir aquí") == nullptr; }));
    EXPECT_TRUE(view().isVisible());
    EXPECT_FALSE(view().close());
    click(QAccessible::Button, "Cancelar la operación y salir");
    EXPECT_TRUE(waitUntil([&] { return !view().isVisible(); }));
    end.give(0);
}

TEST_F(WindowTests, ClosesTheQuestionWhenTheWorkEnds)
{
    show();
    for (const bool fails : {true, false}) {
        const Answer<int> end;
        model->perform([end, fails](WorkControl) -> QCoro::Task<> {
            co_await end;
            if (fails)
                throw captureError("No ha salido bien.");
        });
        EXPECT_FALSE(view().close());
        ASSERT_TRUE(waitUntil([&] { return control(QAccessible::Button, "Seguir aquí") != nullptr; }));
        end.give(0);
        if (!fails)
            break;
        ASSERT_TRUE(waitUntil([&] { return control(QAccessible::Button, "Seguir aquí") == nullptr; }));
        click(QAccessible::Button, "Aceptar");
        ASSERT_TRUE(waitUntil([&] { return control(QAccessible::Button, "Aceptar") == nullptr; }));
        EXPECT_TRUE(view().isVisible()) << "stays open until the failure is acknowledged";
    }
    EXPECT_TRUE(waitUntil([&] { return !view().isVisible(); }));
}

TEST_F(WindowTests, OpensProjectsWithThePointerAndTheKeyboard)
{
    const auto first = add(VideoProject::make("Primera"));
    const auto second = add(VideoProject::make("Segunda"));
    show();
    click(QAccessible::ListItem, "Primera");
    ASSERT_TRUE(waitUntil([&] { return model->hasProject(); }));
    EXPECT_EQ(project().id, first.id);
    model->update([](VideoProject& project) { project.duration = 3; });
    model->setSelectedSpan({0, 1});
    key(Qt::Key_X);
    EXPECT_EQ(project().edit.cuts.size(), 1U) << "the opened project has the focus";

    auto* list = control(QAccessible::List, "Biblioteca");
    ASSERT_TRUE(list);
    list->forceActiveFocus(Qt::TabFocusReason);
    key(Qt::Key_Home);
    const bool secondAbove = control(QAccessible::ListItem, "Segunda")->y() < control(QAccessible::ListItem, "Primera")->y();
    key(secondAbove ? Qt::Key_Up : Qt::Key_Down);
    key(Qt::Key_Return);
    EXPECT_TRUE(waitUntil([&] { return project().id == second.id; }));
}

TEST_F(WindowTests, OverlaysTheLibraryInANarrowWindow)
{
    const auto lesson = add(VideoProject::make("Demo"));
    show();
    view().resize(960, 700);
    ASSERT_TRUE(waitUntil([&] { return !control(QAccessible::ListItem, "Demo"); }));
    key(Qt::Key_B, Qt::ControlModifier);
    click(QAccessible::ListItem, "Demo");
    ASSERT_TRUE(waitUntil([&] { return model->hasProject(); }));
    EXPECT_EQ(project().id, lesson.id);
    EXPECT_TRUE(waitUntil([&] { return !control(QAccessible::ListItem, "Demo"); })) << "closes when a project is chosen";
    view().resize(1300, 800);
    EXPECT_TRUE(waitUntil([&] { return control(QAccessible::ListItem, "Demo") != nullptr; }));
}

TEST_F(WindowTests, ImportsDroppedFiles)
{
    show();
    drop(movie("Uno.mp4"), 0.5, 0.5);
    ASSERT_TRUE(waitUntil([&] { return model->hasProject() && !model->busy(); }));
    EXPECT_EQ(project().title, "Uno");

    drop(movie("Dos.mp4"), 0.9, 0.5);
    ASSERT_TRUE(waitUntil([&] { return project().tracks.size() == 2 && !model->busy(); })) << "appended on the right";
    EXPECT_EQ(project().title, "Uno");
    EXPECT_NEAR(project().duration, 4, 0.2);

    drop(folder / "Dos.mp4", 0.3, 0.5);
    ASSERT_TRUE(waitUntil([&] { return project().title == "Dos" && !model->busy(); })) << "a new project on the left";

    const auto text = folder / "notas.txt";
    std::ofstream(text) << "notas";
    drop(text, 0.5, 0.5);
    EXPECT_FALSE(model->busy()) << "ignores files that are neither movies nor images";
}

TEST_F(WindowTests, RemembersSizeSidebarAndAppearance)
{
    const auto appearance = [&] { return qmlEngine(&view())->singletonInstance<Appearance*>("Orvo.Ui", "Appearance"); };
    show();
    view().resize(1234, 777);
    ASSERT_TRUE(waitUntil([&] { return view().width() == 1234; }));
    const QColor dark = view().color();
    appearance()->setChoice("light");
    EXPECT_GT(view().color().lightness(), dark.lightness() + 100);
    key(Qt::Key_B, Qt::ControlModifier);
    EXPECT_TRUE(waitUntil([&] { return !control(QAccessible::List, "Biblioteca"); }));
    view().close();
    window.reset();

    show();
    EXPECT_EQ(view().size(), QSize(1234, 777));
    EXPECT_FALSE(control(QAccessible::List, "Biblioteca"));
    EXPECT_GT(view().color().lightness(), dark.lightness() + 100);
    appearance()->setChoice("anything else");
    EXPECT_EQ(appearance()->choice(), "system");
    key(Qt::Key_B, Qt::ControlModifier);
    EXPECT_TRUE(waitUntil([&] { return control(QAccessible::List, "Biblioteca") != nullptr; }));
}

} // namespace

} // namespace orvo::test
