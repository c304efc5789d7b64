// Takes screenshots of the main states of the windows: orvo-shots FOLDER [STATE]. STATE selects those whose names start
// with it.

#include "OrvoVideo/editor/EditorCommands.h"
#include "OrvoVideo/editor/ProsePage.h"
#include "OrvoVideo/editor/TimelineItem.h"
#include "OrvoVideo/model/Answer.h"
#include "OrvoVideo/model/AppModel.h"
#include "OrvoVideo/shell/MainWindow.h"
#include "OrvoVideo/ui/Appearance.h"
#include "SampleLibrary.h"
#include "TestSupport/TemporaryFolder.h"
#include "TestSupport/VirtualDisplay.h"
#include "VideoCore/Error.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickStyle>
#include <QQuickView>
#include <QTimer>
#include <fstream>
#include <functional>
#include <iostream>

namespace orvo::shots {

namespace {

/// File panels that always answer with the same file.
class OnePlace final : public FilePanels {
public:
    explicit OnePlace(std::filesystem::path place)
        : m_place(std::move(place))
    {
    }
    void openMovie(Answer answer) override { answer(m_place); }
    void openImage(Answer answer) override { answer(m_place); }
    void saveMovie(const Saved&, Answer answer) override { answer(m_place); }

private:
    std::filesystem::path m_place;
};

/// Runs the event loop until the condition holds. Throws after a generous limit.
void waitFor(const char* what, const std::function<bool()>& condition)
{
    const QDeadlineTimer deadline(120'000);
    while (!condition()) {
        if (deadline.hasExpired())
            throw captureError(std::string("waited too long for ") + what);
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    }
}

class Photographer {
public:
    Photographer(const QDir& folder, QString wanted, MainWindow& main)
        : m_folder(folder)
        , m_wanted(std::move(wanted))
        , m_window(main.window())
        , m_appearance(*qmlEngine(&m_window)->singletonInstance<Appearance*>("Orvo.Ui", "Appearance"))
    {
    }

    /// Saves the current state in every size and appearance. `hold` restores a state that changes meanwhile.
    void take(const QString& state, const std::function<void()>& hold = [] { })
    {
        if (!state.startsWith(m_wanted))
            return;
        for (const QSize size : {QSize(960, 600), QSize(1280, 800), QSize(1366, 768), QSize(2560, 1440)}) {
            m_window.resize(size);
            for (const QString& appearance : {QStringLiteral("dark"), QStringLiteral("light")}) {
                m_appearance.setChoice(appearance);
                settle();
                hold();
                const QString name =
                    QStringLiteral("%1-%2-%3x%4.png").arg(state, appearance).arg(size.width()).arg(size.height());
                save(m_window, name);
            }
        }
    }

    /// Saves another window in both appearances, in its own size.
    void take(const QString& state, QQuickWindow& window)
    {
        if (!state.startsWith(m_wanted))
            return;
        for (const QString& appearance : {QStringLiteral("dark"), QStringLiteral("light")}) {
            m_appearance.setChoice(appearance);
            settle();
            save(window, QStringLiteral("%1-%2.png").arg(state, appearance));
        }
    }

private:
    void save(QQuickWindow& window, const QString& name) const
    {
        if (!window.grabWindow().save(m_folder.filePath(name)))
            throw captureError("cannot write " + m_folder.filePath(name).toStdString());
        std::cout << name.toStdString() << '\n';
    }

    /// Waits for images and animations.
    static void settle()
    {
        QEventLoop loop;
        QTimer::singleShot(700, &loop, &QEventLoop::quit);
        loop.exec();
    }

    QDir m_folder;
    QString m_wanted;
    QQuickWindow& m_window;
    Appearance& m_appearance;
};

/// Takes the transcript with marked words, with a word being corrected, with search results, and as a list.
void photographTranscript(const QQuickWindow& window, Photographer& photographer)
{
    auto* page = window.findChild<ProsePage*>(QStringLiteral("page"));
    auto* section = window.findChild<QQuickItem*>(QStringLiteral("textSection"));
    auto* search = window.findChild<QQuickItem*>(QStringLiteral("search"));
    if (!page || !section || !search)
        throw captureError("there is no transcript");
    auto& reader = *page->reader();
    page->forceActiveFocus();
    reader.markBetween({14, 14}, {22, 22});
    photographer.take(QStringLiteral("transcript-marked"));
    reader.place(30);
    emit page->editWanted(30);
    photographer.take(QStringLiteral("transcript-correcting"));
    page->forceActiveFocus();
    search->setProperty("text", QStringLiteral("la"));
    reader.nextMatch(false);
    photographer.take(QStringLiteral("transcript-search"));
    search->setProperty("text", QString());
    section->setProperty("asList", true);
    photographer.take(QStringLiteral("transcript-list"));
    section->setProperty("asList", false);
}

/// A visible text overlay in the preview; null if there is none.
QQuickItem* shownText(QQuickItem& root)
{
    if (!root.isVisible())
        return nullptr;
    if (root.property("editing").isValid() && root.property("isText").toBool())
        return &root;
    for (auto* child : root.childItems()) {
        if (auto* found = shownText(*child))
            return found;
    }
    return nullptr;
}

/// Takes the history, a zoom with its frame, and a text being edited in the preview.
void photographEdits(AppModel& model, const QQuickWindow& window, Photographer& photographer)
{
    auto* commands = window.findChild<EditorCommands*>();
    model.editing()->correctWord(model.transcript()->get(4)["wordId"].toString(), QStringLiteral("veremos"));
    model.editing()->correctWord(model.transcript()->get(10)["wordId"].toString(), QStringLiteral("función"));
    commands->addZoom();
    photographer.take(QStringLiteral("zoom-framed"));
    model.undo();
    auto* history = window.findChild<QObject*>(QStringLiteral("historyPanel"));
    if (!history)
        throw captureError("there is no history");
    QMetaObject::invokeMethod(history, "open");
    photographer.take(QStringLiteral("history"));
    QMetaObject::invokeMethod(history, "close");
    model.editing()->goToStep(0);
    model.seek(12.5);
    auto* text = shownText(*window.contentItem());
    if (!text)
        throw captureError("there is no text in the preview");
    QMetaObject::invokeMethod(text, "edit");
    photographer.take(QStringLiteral("text-editing"));
    QMetaObject::invokeMethod(text, "endEditing", Q_ARG(bool, false));
}

QQuickWindow& windowCalled(const QString& title)
{
    for (auto* window : QGuiApplication::topLevelWindows()) {
        if (window->title() == title && window->isVisible())
            return *qobject_cast<QQuickWindow*>(window);
    }
    throw captureError("there is no window called " + title.toStdString());
}

/// Takes each page of the recording bar.
void photographBar(Recorder& recorder, Photographer& photographer)
{
    QQuickView bar;
    bar.setInitialProperties({{QStringLiteral("recorder"), QVariant::fromValue(&recorder)}});
    bar.setColor(Qt::transparent);
    bar.loadFromModule("Orvo.Recorder", "RecordingBar");
    bar.show();
    for (const char* page : {"controls", "more", "ask"}) {
        bar.rootObject()->setProperty("page", page);
        photographer.take(QStringLiteral("bar-") + QLatin1String(page), bar);
    }
}

/// Takes the equipment check, the guide, the steps for the extension, and the notes.
void photographHelp(const MainWindow& main, AppModel& model, Photographer& photographer)
{
    auto& window = main.window();
    QMetaObject::invokeMethod(&window, "checkEquipment", Q_ARG(bool, true));
    photographer.take(QStringLiteral("equipment"));
    QMetaObject::invokeMethod(&window, "closeEquipment");
    QMetaObject::invokeMethod(&window, "openHelp", Q_ARG(int, 0));
    photographer.take(QStringLiteral("help"), windowCalled(QStringLiteral("Ayuda")));
    QMetaObject::invokeMethod(&window, "openHelp", Q_ARG(int, 1));
    photographer.take(QStringLiteral("help-about"), windowCalled(QStringLiteral("Ayuda")));
    windowCalled(QStringLiteral("Ayuda")).close();
    QMetaObject::invokeMethod(&window, "openNotes");
    photographer.take(QStringLiteral("notes"), windowCalled(QStringLiteral("Notas")));
    windowCalled(QStringLiteral("Notas")).close();
    model.recorder()->capture()->setMode(QStringLiteral("tab"));
    QMetaObject::invokeMethod(&window, "openRecorder");
    photographer.take(QStringLiteral("recording-tab"));
    QMetaObject::invokeMethod(&window, "closeRecorder");
    model.recorder()->capture()->setMode(QStringLiteral("screen"));
}

/// Closes the popup with this property. Closing may destroy it.
void closePopup(const QQuickWindow& window, const char* property)
{
    for (auto* popup : window.findChildren<QObject*>()) {
        if (popup->property(property).isValid() && popup->property("closePolicy").isValid()) {
            QMetaObject::invokeMethod(popup, "close");
            return;
        }
    }
}

/// Takes the library's menu with a multiple selection, the disk space, the export sheet, and a finished export.
void photographLibrary(AppModel& model, QQuickWindow& window, Photographer& photographer)
{
    photographer.take(QStringLiteral("library-menu"), [&] { // Resizing the window closes the menu.
        auto* list = window.findChild<QQuickItem*>(QStringLiteral("library"));
        auto* sidebar = list;
        while (sidebar && !sidebar->property("renaming").isValid())
            sidebar = sidebar->parentItem();
        if (!sidebar) // In a narrow window, the library is in the drawer.
            return;
        QStringList ids;
        for (int row = 0; row < 2; ++row)
            ids << model.library()->get(row).value(QStringLiteral("projectId")).toString();
        sidebar->setProperty("marked", ids);
        QQuickItem* row = nullptr;
        QMetaObject::invokeMethod(list, "itemAtIndex", Q_RETURN_ARG(QQuickItem*, row), Q_ARG(int, 0));
        if (row)
            QMetaObject::invokeMethod(sidebar, "openMenu", Q_ARG(QQuickItem*, row));
        QCoreApplication::processEvents();
    });
    QMetaObject::invokeMethod(&window, "openSpace");
    waitFor("the sizes", [&] { return !model.care()->measuring(); });
    photographer.take(QStringLiteral("library-space"));
    closePopup(window, "care");
    QMetaObject::invokeMethod(&window, "exportOpenProject");
    photographer.take(QStringLiteral("export-own"));
    model.exports()->choice()->setPreset(QStringLiteral("gif"));
    photographer.take(QStringLiteral("export-preset"));
    model.exports()->choice()->setPreset({});
    closePopup(window, "needsSpan");
    model.setSelectedSpan({0, 2});
    model.exports()->exportProject(model.projectFacts().projectId, true);
    waitFor("the film", [&] { return model.exports()->doneCount() > 0; });
    photographer.take(QStringLiteral("export-done"));
    model.exports()->dismiss();
}

void takeAll(const QDir& folder, const QString& wanted)
{
    const test::TemporaryFolder scratch;
    const auto library = scratch / "Biblioteca";
    test::VirtualDisplay display("1920x1080"); // Shown in the recording panel.
    display.enter();
    QProcess::execute(QStringLiteral("xsetroot"), {QStringLiteral("-solid"), QStringLiteral("#24324F")});
    auto services = AppServices::create(library);
    services.panels = std::make_unique<OnePlace>(scratch / "Clase 3.mp4");
    services.loadSecret = [](auto&&...) { return std::string("una credencial de muestra"); };
    AppModel model(std::move(services));
    MainWindow main(model);
    Photographer photographer(folder, wanted, main);

    waitFor("the listed library", [&] { return model.libraryListed(); });
    photographer.take(QStringLiteral("empty-library"));

    const auto lesson = fillLibrary(model.store());
    model.refreshLibrary();
    waitFor("the filled library", [&] { return model.library()->count() == 4; });
    photographer.take(QStringLiteral("welcome"));
    photographHelp(main, model, photographer);

    auto options = model.options();
    options.camera = true;
    model.setOptions(options);
    QMetaObject::invokeMethod(&main.window(), "openRecorder");
    waitFor("the sources", [&] { return model.recorder()->capture()->sources()->count() > 0; });
    photographer.take(QStringLiteral("recording-panel"));
    QMetaObject::invokeMethod(&main.window(), "closeRecorder");
    options.camera = options.microphone = options.systemAudio = false;
    model.setOptions(options);
    model.startRecording();
    waitFor("the recording", [&] { return model.recorder()->time() > 1; });
    photographer.take(QStringLiteral("recording"));
    photographBar(*model.recorder(), photographer);
    model.stopRecording();
    waitFor("the end of the recording", [&] { return !model.capturing() && !model.busy(); });

    main.open({QString::fromStdString(lesson.id.text())});
    waitFor("the preview of the lesson",
        [&] { return model.project() && model.project()->id == lesson.id && model.preview() == Playback::Preview::Ready; });
    model.seek(12.5);
    model.setSelectedSpan({13, 16});
    model.findSuggestions();
    QQuickItem* editor = nullptr;
    for (auto* item : main.window().findChildren<QQuickItem*>()) {
        if (item->property("section").isValid() && item->property("inspectorShown").isValid()
            && item->property("app").isValid())
            editor = item;
    }
    if (!editor)
        throw captureError("there is no editor");
    for (const char* section : {"share", "effects", "text"}) {
        editor->setProperty("section", section);
        photographer.take(QStringLiteral("editor-") + QLatin1String(section));
    }
    editor->setProperty("section", "text");
    photographTranscript(main.window(), photographer);
    photographEdits(model, main.window(), photographer);
    model.transcription()->setAsksForModel(true);
    model.transcribe();
    photographer.take(QStringLiteral("speech-models"));
    QMetaObject::invokeMethod(&main.window(), "closeSpeechModels");
    auto* timeline = main.window().findChild<TimelineItem*>();
    timeline->zoomBy(4);
    photographer.take(QStringLiteral("editor-timeline-zoomed"));
    timeline->fit();
    auto* commands = main.window().findChild<EditorCommands*>();
    commands->setPreviewAlone(true);
    photographer.take(QStringLiteral("preview-alone"));
    commands->setPreviewAlone(false);

    model.server()->setServerURL(QStringLiteral("https://video.ejemplo.es"));
    model.update([](VideoProject& project) {
        project.publication = Publication{.videoID = "3f2a", .url = "https://video.ejemplo.es/watch/3f2a", .domains = {}};
    });
    model.publishing()->setDomainText(QStringLiteral("https://www.ejemplo.es, https://cursos.ejemplo.es"));
    editor->setProperty("section", "share"); // Editing has changed the section.
    photographer.take(QStringLiteral("editor-share-published"));
    editor->setProperty("section", "text");

    QMetaObject::invokeMethod(&main.window(), "openSettings");
    for (auto* window : QGuiApplication::topLevelWindows()) {
        if (window->title() == QLatin1String("Ajustes"))
            photographer.take(QStringLiteral("settings"), *qobject_cast<QQuickWindow*>(window));
    }

    const Answer<int> end;
    model.perform([end](WorkControl) -> QCoro::Task<> { co_await end; });
    main.window().close();
    photographer.take(QStringLiteral("leaving"));
    end.give(0);
    waitFor("the end of the work", [&] { return !model.busy(); });
    closePopup(main.window(), "later");

    photographer.take(QStringLiteral("exporting"), [&] {
        if (!model.busy())
            model.exportVideo();
        waitFor("progress", [&] { return model.busy() && model.progress() > 0.1; });
    });
    model.cancel();
    waitFor("the end of the export", [&] { return !model.busy(); });

    photographLibrary(model, main.window(), photographer);

    const auto noMovie = scratch / "Apuntes.mp4";
    std::ofstream(noMovie) << "apuntes";
    model.importFile(QUrl::fromLocalFile(QString::fromStdString(noMovie.string())), false);
    waitFor("the error", [&] { return !model.errorMessage().isEmpty() && !model.busy(); });
    photographer.take(QStringLiteral("error"));
    model.clearError();
    photographer.take(QStringLiteral("library-failed-import"));
}

} // namespace

} // namespace orvo::shots

int main(int argc, char** argv)
{
    const QString folder = QDir().absoluteFilePath(QString::fromLocal8Bit(argc > 1 ? argv[1] : "build/shots"));
    const orvo::test::TemporaryFolder home;
    std::ofstream(home / "screen.json")
        << R"({"screens": [{"name": "shots", "x": 0, "y": 0, "width": 2560, "height": 1440, "dpr": 1}]})";
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen:configfile=" + QByteArray::fromStdString((home / "screen.json").string()));
    qputenv("HOME", QByteArray::fromStdString(home.path().string()));
    qputenv("XDG_DATA_HOME", QByteArray::fromStdString((home / "data").string()));
    qputenv("XDG_CACHE_HOME", QByteArray::fromStdString((home / "cache").string()));
    qputenv("XDG_CONFIG_HOME", QByteArray::fromStdString((home / "config").string()));
    const QApplication application(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("OrvoVideo"));
    QApplication::setApplicationName(QStringLiteral("OrvoVideo"));
    QQuickStyle::setStyle(QStringLiteral("Basic"));
    QLocale::setDefault(QLocale(QLocale::Spanish, QLocale::Spain));
    if (!QDir().mkpath(folder)) {
        std::cerr << "cannot create " << folder.toStdString() << '\n';
        return EXIT_FAILURE;
    }
    try {
        orvo::shots::takeAll(QDir(folder), argc > 2 ? QString::fromLocal8Bit(argv[2]) : QString());
    } catch (const std::exception& error) {
        std::cerr << orvo::describe(error) << '\n';
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
