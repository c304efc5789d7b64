#include "OrvoVideo/model/AppModel.h"
#include "OrvoVideo/model/SingleInstance.h"
#include "OrvoVideo/recorder/RecordingDesk.h"
#include "OrvoVideo/shell/MainWindow.h"
#include "OrvoVideo/shell/TrayItem.h"
#include "VideoCore/Error.h"

#include <QApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QMessageBox>
#include <QQuickStyle>
#include <QSessionManager>
#include <QTranslator>
#include <QtQml/QQmlExtensionPlugin>
#include <filesystem>
#include <optional>

Q_IMPORT_QML_PLUGIN(Orvo_EditorPlugin)
Q_IMPORT_QML_PLUGIN(Orvo_ModelPlugin)
Q_IMPORT_QML_PLUGIN(Orvo_PreviewPlugin)
Q_IMPORT_QML_PLUGIN(Orvo_RecorderPlugin)
Q_IMPORT_QML_PLUGIN(Orvo_SettingsPlugin)
Q_IMPORT_QML_PLUGIN(Orvo_ShellPlugin)
Q_IMPORT_QML_PLUGIN(Orvo_UiPlugin)

namespace {

/// Numbers, dates and the texts of the interface library itself, in Spanish like everything else.
void speakSpanish(QApplication& application)
{
    const QLocale spanish(QLocale::Spanish, QLocale::Spain);
    QLocale::setDefault(spanish);
    for (const auto* name : {"qtbase", "qtdeclarative"}) {
        auto* translator = new QTranslator(&application);
        if (translator->load(
                spanish, QString::fromLatin1(name), QStringLiteral("_"), QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
            QApplication::installTranslator(translator);
    }
}

/// The application cannot run: says why, and that is all.
int endWith(const QString& reason)
{
    QMessageBox::critical(nullptr, QStringLiteral("Orvo Video"), reason);
    return EXIT_FAILURE;
}

/// Another library than the usual one, where the environment names one.
std::optional<std::filesystem::path> libraryFolder()
{
    const QByteArray folder = qgetenv("ORVO_LIBRARY");
    return folder.isEmpty() ? std::nullopt : std::optional<std::filesystem::path>(folder.toStdString());
}

int runApplication(const QStringList& arguments)
{
    using namespace orvo;

    const SingleInstance instance(AppServices::openLibrary(libraryFolder())->root());
    if (!instance.isFirst())
        return instance.handOver(MainWindow::inAnyFolder(arguments)) ? EXIT_SUCCESS
                                                                     : endWith(SingleInstance::notAnsweringText());

    AppModel model(AppServices::create(libraryFolder()));
    MainWindow window(model);
    const TrayItem tray(model);
    const RecordingDesk desk(*model.recorder(), [&model] {
        const bool hasKey = model.shortcuts()->hears(ShortcutManager::Action::Record);
        return hasKey || QSystemTrayIcon::isSystemTrayAvailable() ? RecordingDesk::WayBack::elsewhere
                                                                  : RecordingDesk::WayBack::windowOnly;
    });
    QObject::connect(&tray, &TrayItem::windowWanted, &window, [&window] { window.bringToFront(); });
    QObject::connect(&tray, &TrayItem::quitWanted, &window.window(), &QWindow::close);
    QObject::connect(
        &instance, &SingleInstance::activated, &window, [&window](const QStringList& wanted, const QString& token) {
            window.bringToFront(token);
            window.open(wanted);
        });
    QObject::connect(qApp, &QGuiApplication::commitDataRequest, &model, [&model](QSessionManager& session) {
        if (!model.prepareToQuit())
            session.cancel();
    });
    window.open(arguments);
    return QApplication::exec();
}

} // namespace

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("OrvoVideo"));
    QApplication::setApplicationName(QStringLiteral("OrvoVideo"));
    QApplication::setApplicationDisplayName(QStringLiteral("Orvo Video"));
    QApplication::setDesktopFileName(QStringLiteral("es.orvo.video"));
    QQuickStyle::setStyle(QStringLiteral("Basic"));
    orvo::MainWindow::chooseRenderer();
    speakSpanish(application);
    try {
        return runApplication(QApplication::arguments().mid(1));
    } catch (const std::exception& error) {
        return endWith(QString::fromStdString(orvo::describe(error)));
    }
}
