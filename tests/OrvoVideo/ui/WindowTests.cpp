#include "OrvoVideo/ui/Appearance.h"
#include "OrvoVideo/ui/Wording.h"
#include "TestSupport/Media.h"
#include "TestSupport/SmallDisk.h"
#include "VideoCore/Error.h"
#include "WindowFixture.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QQmlEngine>
#include <QSignalSpy>
#include <QTest>
#include <fstream>
#include <set>
#include <utility>

namespace orvo::test {

namespace {

using testing::Contains;
using testing::IsSupersetOf;

class WindowTests : public WindowFixture {
protected:
    /// The name of what has the keyboard.
    QString focusName() const
    {
        auto* item = view().activeFocusItem();
        auto* interface = item ? QAccessible::queryAccessibleInterface(item) : nullptr;
        return interface ? interface->text(QAccessible::Name) : QString();
    }

    /// Presses Tab until what is read out with this name has the keyboard; false when it is never reached.
    bool tabTo(const QString& name) const
    {
        for (int i = 0; i < 200 && focusName() != name; ++i)
            QTest::keyClick(&view(), Qt::Key_Tab);
        return focusName() == name;
    }
};

TEST_F(WindowTests, TheMainPathIsWalkedWithTheKeyboardAlone)
{
    show();
    panels->choice = movie();
    ASSERT_TRUE(tabTo("Importar un vídeo"));
    key(Qt::Key_Return);
    ASSERT_TRUE(waitUntil([&] { return model->hasProject() && !model->busy(); }));

    // The editor has the keyboard now.
    key(Qt::Key_Home);
    key(Qt::Key_I);
    key(Qt::Key_Right, Qt::ShiftModifier);
    key(Qt::Key_O);
    key(Qt::Key_X);
    EXPECT_EQ(project().edit.cuts.items(), (std::vector<TimeSpan>{{0, 1}}));
    key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_TRUE(project().edit.cuts.empty());
    key(Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(project().edit.cuts.size(), 1U);

    ASSERT_TRUE(tabTo("Título"));
    key(Qt::Key_A, Qt::ControlModifier);
    type("Repaso");
    key(Qt::Key_Return);
    EXPECT_EQ(project().title, "Repaso");

    panels->choice = folder / "salida.mp4";
    ASSERT_TRUE(tabTo("Exportar"));
    key(Qt::Key_Return);
    ASSERT_TRUE(waitUntil([&] { return focusName() == "Exportar…"; }));
    key(Qt::Key_Return);
    ASSERT_TRUE(waitUntil([&] { return std::filesystem::exists(folder / "salida.srt") && !model->busy(); }));
    EXPECT_NEAR(probe(folder / "salida.mp4").videoDuration, 1, 0.04);
    EXPECT_EQ(model->errorMessage(), "");
}

TEST_F(WindowTests, FromNothingToAnExportedMovie)
{
    show();
    EXPECT_TRUE(control(QAccessible::StaticText, "Aún no hay vídeos"));
    EXPECT_FALSE(control(QAccessible::Button, "Exportar"));

    panels->choice = movie();
    click(QAccessible::Button, "Importar un vídeo");
    ASSERT_TRUE(waitUntil([&] { return model->hasProject() && !model->busy(); }));
    EXPECT_EQ(project().tracks.size(), 1U);
    EXPECT_TRUE(waitUntil([&] { return control(QAccessible::ListItem, "Clase 3") != nullptr; }));
    EXPECT_FALSE(control(QAccessible::Button, "Importar un vídeo")) << "the welcome page is gone";
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

TEST_F(WindowTests, TheTitleIsEditedInPlace)
{
    const auto lesson = add(VideoProject::make("Antes"));
    show();
    window->open({QString::fromStdString(lesson.id.text())});
    ASSERT_TRUE(waitUntil([&] { return model->hasProject(); }));

    click(QAccessible::EditableText, "Título");
    key(Qt::Key_A, Qt::ControlModifier);
    type("Después");
    EXPECT_EQ(project().title, "Antes") << "applied when it is entered";
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
    EXPECT_FALSE(model->canUndo()) << "a title that was not changed is no edit";
}

TEST_F(WindowTests, ALongFailureShowsItsCauseAndIsCopiedWhole)
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
    // With the keyboard, too: the last lines are reached.
    QMetaObject::invokeMethod(control(QAccessible::EditableText, "Detalles"), "forceActiveFocus");
    key(Qt::Key_End, Qt::ControlModifier);
    const auto* flickable = details->parentItem()->parentItem();
    EXPECT_TRUE(waitUntil([&] { return flickable->property("contentY").toReal() > 0; }));
    key(Qt::Key_Escape);
    EXPECT_TRUE(waitUntil([&] { return model->errorMessage().isEmpty(); }));
}

TEST_F(WindowTests, KeepsATypedTitleUntilTheProjectIsTaken)
{
    const auto lesson = add(VideoProject::make("Antes"));
    const auto next = add(VideoProject::make("Siguiente"));
    show();
    select(lesson);
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
    EXPECT_TRUE(waitUntil([&] { return control(QAccessible::StaticText, "Exportada") != nullptr; })) << "named in the sheet";
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

TEST_F(WindowTests, StepsAreNamedAndWalked)
{
    const auto first = withMovie("Uno");
    show();
    select(first);
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
    view().grabWindow(); // The panel is where it will stay.
    click(QAccessible::ListItem, "Principio");
    EXPECT_TRUE(waitUntil([&] { return project().edit.words.empty(); }));
    key(Qt::Key_Escape);

    // What was done stays with its project.
    const auto left = project();
    select(withMovie("Dos"));
    EXPECT_FALSE(control(QAccessible::Button, "Historial")->isEnabled());
    select(left);
    EXPECT_TRUE(control(QAccessible::Button, "Rehacer: transcribir"));
}

TEST_F(WindowTests, AClickLeavesALongTitleAlone)
{
    const auto lesson = add(VideoProject::make(std::string(300, 'a')));
    show();
    select(lesson);
    click(QAccessible::EditableText, "Título");
    key(Qt::Key_Tab);
    EXPECT_EQ(project().title, lesson.title);
    EXPECT_FALSE(model->canUndo());
}

TEST_F(WindowTests, TypedNumbersCountForACut)
{
    auto lesson = VideoProject::make("Demo");
    lesson.duration = 10;
    add(lesson);
    show();
    select(lesson);
    click(QAccessible::SpinBox, "Final");
    key(Qt::Key_A, Qt::ControlModifier);
    type("7,5");
    click(QAccessible::Button, "Cortar selección"); // It does not take the keyboard.
    EXPECT_THAT(project().edit.cuts, testing::ElementsAre(TimeSpan{0, 7.5}));
}

TEST_F(WindowTests, NothingIsEditedWhileSomethingIsRecorded)
{
    const auto lesson = add(VideoProject::make("Demo"));
    const QString reason = "Mientras se graba no se puede editar. Pulsa «Terminar» para editar este vídeo.";
    show();
    select(lesson);
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
    EXPECT_EQ(project().edit.events.size(), 1U) << "the editor has the keyboard again";
}

TEST_F(WindowTests, AFailureIsSaidAndAcknowledged)
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

    // The second one is shown as well.
    click(QAccessible::Button, "Importar");
    EXPECT_TRUE(waitUntil([&] { return control(QAccessible::Button, "Aceptar") != nullptr; }));
    key(Qt::Key_Escape);
    EXPECT_TRUE(waitUntil([&] { return model->errorMessage().isEmpty(); }));
}

TEST_F(WindowTests, ALostTrackCanBeLeftOut)
{
    auto recording = withMovie("Interrumpida");
    recording.state = ProjectState::needsRecovery;
    recording.tracks.edit().push_back(track(TrackKind::microphone, "media/microphone.webm", 0, 2));
    std::ofstream(store.mediaURL(recording, "media/microphone.webm")).flush();
    store.save(recording);
    show();
    select(recording);
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

TEST_F(WindowTests, ALongOperationIsCancelledFromTheStatusBar)
{
    const auto lesson = withMovie("Larga", 60);
    show();
    select(lesson);
    panels->choice = folder / "resultado.mp4";
    click(QAccessible::Button, "Exportar");
    click(QAccessible::Button, "Exportar…");
    ASSERT_TRUE(waitUntil([&] { return model->busy(); }));
    click(QAccessible::Button, "Cancelar");
    ASSERT_TRUE(waitUntil([&] { return !model->busy(); }));
    EXPECT_TRUE(control(QAccessible::StatusBar, "Operación cancelada"));
    EXPECT_FALSE(std::filesystem::exists(*panels->choice));
    // The sound may still be read for the timeline.
    EXPECT_TRUE(waitUntil([&] { return !control(QAccessible::Button, "Cancelar"); }));
}

TEST_F(WindowTests, LeavingDuringALongOperationIsAsked)
{
    show();
    const Answer<int> end;
    model->perform([end](WorkControl) -> QCoro::Task<> { co_await end; });
    EXPECT_FALSE(view().close());
    click(QAccessible::Button, "Seguir aquí");
    ASSERT_TRUE(waitUntil([&] { return control(QAccessible::Button, "Seguir aquí") == nullptr; }));
    EXPECT_TRUE(view().isVisible());
    EXPECT_FALSE(view().close());
    click(QAccessible::Button, "Cancelar la operación y salir");
    EXPECT_TRUE(waitUntil([&] { return !view().isVisible(); }));
    end.give(0);
}

TEST_F(WindowTests, LooksForFfmpegAgainWhenTheApplicationComesToTheFront)
{
    start();
    const QSignalSpy looks(model->installation(), &AppInstallation::toolsChanged);
    emit qGuiApp->applicationStateChanged(Qt::ApplicationActive);
    EXPECT_EQ(looks.size(), 1);
}

TEST_F(WindowTests, AsksAgainAfterAnExitThatWasRefused)
{
    const auto lesson = add(VideoProject::make("Demo"));
    show();
    select(lesson);
    const Answer<int> end;
    model->perform([end](WorkControl) -> QCoro::Task<> { co_await end; });
    {
        const FileSizeLimit full(100);
        setTitle("no cabe");
        EXPECT_FALSE(view().close());
        click(QAccessible::Button, "Cancelar la operación y salir");
        click(QAccessible::Button, "Aceptar");
        ASSERT_TRUE(waitUntil([&] { return control(QAccessible::Button, "Aceptar") == nullptr; }));
        ASSERT_TRUE(view().isVisible()) << "the edits are only here";
    }
    EXPECT_FALSE(view().close());
    click(QAccessible::Button, "Seguir aquí");
    end.give(0);
    ASSERT_TRUE(waitUntil([&] { return !model->busy(); }));
}

TEST_F(WindowTests, ProjectsAreChosenWithThePointerAndTheKeyboard)
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
    EXPECT_EQ(project().edit.cuts.size(), 1U) << "what was opened has the keyboard";

    auto* list = control(QAccessible::List, "Biblioteca");
    ASSERT_TRUE(list);
    list->forceActiveFocus(Qt::TabFocusReason);
    key(Qt::Key_Home);
    const bool secondAbove = control(QAccessible::ListItem, "Segunda")->y() < control(QAccessible::ListItem, "Primera")->y();
    key(secondAbove ? Qt::Key_Up : Qt::Key_Down);
    key(Qt::Key_Return);
    EXPECT_TRUE(waitUntil([&] { return project().id == second.id; }));
}

TEST_F(WindowTests, InANarrowWindowTheLibraryComesOverIt)
{
    const auto lesson = add(VideoProject::make("Demo"));
    show();
    view().resize(960, 700);
    ASSERT_TRUE(waitUntil([&] { return !control(QAccessible::ListItem, "Demo"); }));
    key(Qt::Key_B, Qt::ControlModifier);
    click(QAccessible::ListItem, "Demo");
    ASSERT_TRUE(waitUntil([&] { return model->hasProject(); }));
    EXPECT_EQ(project().id, lesson.id);
    EXPECT_TRUE(waitUntil([&] { return !control(QAccessible::ListItem, "Demo"); })) << "and goes when one is chosen";
    view().resize(1300, 800);
    EXPECT_TRUE(waitUntil([&] { return control(QAccessible::ListItem, "Demo") != nullptr; }));
}

TEST_F(WindowTests, FilesAreDropped)
{
    show();
    drop(movie("Uno.mp4"), 0.5, 0.5);
    ASSERT_TRUE(waitUntil([&] { return model->hasProject() && !model->busy(); }));
    EXPECT_EQ(project().title, "Uno");

    drop(movie("Dos.mp4"), 0.9, 0.5);
    ASSERT_TRUE(waitUntil([&] { return project().tracks.size() == 2 && !model->busy(); })) << "on the right it joins";
    EXPECT_EQ(project().title, "Uno");
    EXPECT_NEAR(project().duration, 4, 0.2);

    drop(folder / "Dos.mp4", 0.3, 0.5);
    ASSERT_TRUE(waitUntil([&] { return project().title == "Dos" && !model->busy(); })) << "on the left it is a new project";

    const auto text = folder / "notas.txt";
    std::ofstream(text) << "notas";
    drop(text, 0.5, 0.5);
    EXPECT_FALSE(model->busy()) << "what is neither movie nor image is not taken";
}

TEST_F(WindowTests, WhatItWasStartedWithIsOpened)
{
    const auto lesson = add(VideoProject::make("Demo"));
    show();
    window->open({QString::fromStdString(lesson.id.text())});
    ASSERT_TRUE(waitUntil([&] { return model->hasProject(); }));
    EXPECT_EQ(project().id, lesson.id);
    window->open(MainWindow::inAnyFolder({QString::fromStdString(movie("Otra.mp4"))}));
    EXPECT_TRUE(waitUntil([&] { return project().title == "Otra" && !model->busy(); }));
}

TEST_F(WindowTests, SizeSidebarAndAppearanceAreRemembered)
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

TEST_F(WindowTests, TabReachesEverythingThatIsNamed)
{
    const auto lesson = withMovie("Demo");
    show();
    for (const bool open : {false, true}) {
        if (open)
            select(lesson);
        std::set<QString> reached;
        view().contentItem()->forceActiveFocus();
        for (int i = 0; i < 150; ++i) {
            key(Qt::Key_Tab);
            auto* item = view().activeFocusItem();
            ASSERT_TRUE(item);
            auto* interface = QAccessible::queryAccessibleInterface(item);
            ASSERT_TRUE(interface) << item->metaObject()->className();
            EXPECT_FALSE(interface->text(QAccessible::Name).isEmpty())
                << item->metaObject()->className() << " " << item->objectName().toStdString();
            EXPECT_NE(interface->role(), QAccessible::NoRole) << item->metaObject()->className();
            reached.insert(interface->text(QAccessible::Name));
        }
        EXPECT_THAT(reached,
            IsSupersetOf(open ? std::set<QString>{"Demo", "Importar", "Título", "Exportar"}
                              : std::set<QString>{"Demo", "Importar", "Importar un vídeo"}));
    }
}

/// Whether all of an item, or as much as fits, can be seen in the pages and lists around it.
bool isInSight(const QQuickItem& item)
{
    for (const auto* around = item.parentItem(); around; around = around->parentItem()) {
        if (!around->inherits("QQuickFlickable"))
            continue;
        const QRectF place = item.mapRectToItem(around, {0, 0, item.width(), item.height()});
        if (place.top() < -1 || (place.bottom() > around->height() + 1 && place.top() > 1))
            return false;
    }
    return true;
}

TEST_F(WindowTests, WhatGetsTheKeyboardIsScrolledIntoSight)
{
    auto lesson = withMovie("Demo", 30);
    for (int i = 0; i < 14; ++i) {
        lesson.edit.cuts.edit().push_back({.start = 2.0 * i, .end = 2.0 * i + 1});
        lesson.edit.events.edit().push_back({.time = 2.0 * i + 1.2, .kind = PointerKind::zoom, .duration = 0.5});
    }
    store.save(lesson);
    show();
    select(lesson);
    view().resize(960, 600);
    const auto walk = [&](const char* where, Qt::Key direction, int steps) {
        for (int i = 0; i < steps; ++i) {
            key(direction, direction == Qt::Key_Backtab ? Qt::ShiftModifier : Qt::NoModifier);
            EXPECT_TRUE(waitUntil([&] { return isInSight(*view().activeFocusItem()); }))
                << where << ": " << focusName().toStdString() << " after " << i;
        }
    };
    // Of a section that is only made now.
    key(Qt::Key_T);
    EXPECT_TRUE(waitUntil([&] {
        const auto* around = view().activeFocusItem();
        while (around && !around->inherits("QQuickFlickable"))
            around = around->parentItem();
        return around && around->property("contentY").toDouble() > 0 && isInSight(*view().activeFocusItem());
    })) << focusName().toStdString();
    EXPECT_EQ(focusName(), "Texto en pantalla");
    for (const auto* section : {"Compartir", "Efectos"}) {
        click(QAccessible::PageTab, section);
        walk(section, Qt::Key_Tab, 60);
        walk(section, Qt::Key_Backtab, 60);
    }
    EXPECT_TRUE(control(QAccessible::Grouping, "Zoom en 00:01,2"));

    // The same control of every entry, also of those that are not made yet.
    ASSERT_TRUE(tabTo("Restaurar"));
    const auto entry = [&] {
        return QAccessible::queryAccessibleInterface(view().activeFocusItem())->text(QAccessible::Description);
    };
    walk("Recortes", Qt::Key_Down, 20);
    EXPECT_EQ(focusName(), "Restaurar");
    EXPECT_EQ(entry(), "El recorte de 00:26,0");
    walk("Recortes", Qt::Key_Up, 20);
    EXPECT_EQ(entry(), "El recorte de 00:00,0");

    // The menus are reached by their letters.
    key(Qt::Key_A, Qt::AltModifier);
    ASSERT_TRUE(waitUntil([&] { return control(QAccessible::MenuItem, "Exportar…") != nullptr; }));
    key(Qt::Key_J);
    ASSERT_NO_FATAL_FAILURE(turnTo("Ajustes"));
    view().resize(420, 320);
    walk("Ajustes", Qt::Key_Tab, 30);
}

TEST_F(WindowTests, EverythingThatTakesTheKeyboardHasANameAndARole)
{
    const auto lesson = withMovie("Demo");
    show();
    for (const bool open : {false, true}) {
        if (open)
            select(lesson);
        const auto found = focusable();
        EXPECT_GE(found.size(), 3U);
        for (auto* interface : found) {
            EXPECT_FALSE(interface->text(QAccessible::Name).isEmpty()) << interface->object()->metaObject()->className();
            EXPECT_NE(interface->role(), QAccessible::NoRole) << interface->object()->metaObject()->className();
        }
    }
}

TEST(WordingTests, TheCauseOfALongReportComesFirst)
{
    const Wording wording;
    EXPECT_EQ(wording.cause("No hay sitio."), "No hay sitio.");
    QString report = "El proceso de vídeo falló: ffmpeg version 7.1\n";
    for (int i = 0; i < 40; ++i)
        report += "  configuration line\n";
    report += "[out#0/mp4 @ 0x1] Error writing trailer: No space left on device\nframe=  3 fps=0.0\nConversion failed!\n\n";
    EXPECT_EQ(wording.cause(report),
        "El proceso de vídeo falló: [out#0/mp4 @ 0x1] Error writing trailer: No space left on device");
    EXPECT_EQ(wording.cause(QString(1'000, 'x')), QString(400, 'x') + "…");
}

TEST(WordingTests, NamesThisSystemWhereTheFixedTextsNameAnother)
{
    const Wording wording;
    EXPECT_EQ(wording.here("Permisos del Mac"), "Permisos del equipo");
    EXPECT_EQ(wording.here("La extensión necesita configurar su conexión al Mac: no hay permiso"),
        "La extensión necesita configurar su conexión al equipo: no hay permiso");
    EXPECT_EQ(wording.here("Permisos del Mac de Ana"), "Permisos del Mac de Ana");
}

TEST(WordingTests, DaysAreSaidBriefly)
{
    const QDateTime now({2026, 3, 2}, {0, 30});
    const auto at = [](int year, int month, int day) { return QDateTime({year, month, day}, {23, 59}); };
    const std::vector<std::pair<QDateTime, QString>> cases = {
        {QDateTime({2026, 3, 2}, {0, 0}), "hoy"},
        {at(2026, 3, 1), "ayer"},
        {at(2026, 2, 28), "28 feb"},
        {at(2025, 12, 31), "31 dic 2025"},
        {at(2026, 3, 3), "3 mar"},
        {QDateTime(), ""},
    };
    for (const auto& [when, text] : cases)
        EXPECT_EQ(Wording::day(when, now), text) << when.toString().toStdString();
}

} // namespace

} // namespace orvo::test
