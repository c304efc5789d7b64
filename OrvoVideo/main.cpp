#include "OrvoVideo/model/AppModel.h"
#include "OrvoVideo/model/OlderSettings.h"
#include "OrvoVideo/model/SingleInstance.h"
#include "OrvoVideo/recorder/RecordingDesk.h"
#include "OrvoVideo/recorder/RecordingNotice.h"
#include "OrvoVideo/shell/DesktopActivation.h"
#include "OrvoVideo/shell/MainWindow.h"
#include "OrvoVideo/shell/StartArguments.h"
#include "OrvoVideo/shell/TrayItem.h"
#include "Platform/workspace/PortalTheme.h"
#include "VideoCore/CrashLog.h"
#include "VideoCore/Error.h"

#include <QApplication>
#include <QFile>
#include <QIcon>
#include <QLibraryInfo>
#include <QLocale>
#include <QMessageBox>
#include <QQuickStyle>
#include <QSessionManager>
#include <QTranslator>
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace {

/// Sets Spanish for numbers, dates and Qt's own texts.
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

/// Shows why the application cannot run. Returns its exit status.
int endWith(const QString& reason)
{
    QMessageBox::critical(nullptr, QStringLiteral("Orvo Video"), reason);
    return EXIT_FAILURE;
}

/// The library that ORVO_LIBRARY names; nullopt for the default one.
std::optional<std::filesystem::path> libraryFolder()
{
    const QByteArray folder = qgetenv("ORVO_LIBRARY");
    return folder.isEmpty() ? std::nullopt : std::optional<std::filesystem::path>(folder.toStdString());
}

bool hasDisplay()
{
    const auto isSet = [](const char* variable) { return !qEnvironmentVariableIsEmpty(variable); };
    return isSet("DISPLAY") || isSet("WAYLAND_DISPLAY") || isSet("QT_QPA_PLATFORM");
}

int runApplication(const QStringList& arguments)
{
    using namespace orvo;

    const SingleInstance instance(AppServices::openLibrary(libraryFolder())->root());
    if (!instance.isFirst())
        return instance.handOver(MainWindow::inAnyFolder(arguments)) ? EXIT_SUCCESS
                                                                     : endWith(SingleInstance::notAnsweringText());

    OlderSettings::adopt(OlderSettings::usualFile());
    AppModel model(AppServices::create(libraryFolder()));
    MainWindow window(model);
    const TrayItem tray(model);
    const RecordingDesk desk(*model.recorder(), [&model] {
        const bool hasKey = model.shortcuts()->hears(ShortcutManager::Action::Record);
        return hasKey || QSystemTrayIcon::isSystemTrayAvailable() ? RecordingDesk::WayBack::elsewhere
                                                                  : RecordingDesk::WayBack::windowOnly;
    });
    const RecordingNotice notice(*model.recorder(), *model.shortcuts(), desk);
    QObject::connect(&tray, &TrayItem::windowWanted, &window, [&window] { window.bringToFront(); });
    QObject::connect(&tray, &TrayItem::quitWanted, &window.window(), &QWindow::close);
    const auto show = [&window](const QStringList& wanted, const QString& token) {
        window.bringToFront(token);
        window.open(wanted);
    };
    QObject::connect(&instance, &SingleInstance::activated, &window, show);
    // Only the default library owns the name on the bus.
    std::optional<DesktopActivation> desktop;
    if (!libraryFolder())
        QObject::connect(&desktop.emplace(), &DesktopActivation::activated, &window, show);
    QObject::connect(qApp, &QGuiApplication::commitDataRequest, &model, [&model](QSessionManager& session) {
        if (!model.prepareToQuit())
            session.cancel();
    });
    window.open(arguments);
    if (arguments.isEmpty())
        window.greet();
    return QApplication::exec();
}

} // namespace

int main(int argc, char** argv)
{
    using orvo::StartArguments;
    const auto arguments = StartArguments::read(std::vector<std::string_view>(argv + std::min(argc, 1), argv + argc));
    if (arguments.kind != StartArguments::Kind::start) {
        const bool isAnswer = arguments.kind == StartArguments::Kind::answer;
        std::fputs(arguments.text.c_str(), isAnswer ? stdout : stderr);
        return isAnswer ? EXIT_SUCCESS : 2;
    }
    orvo::CrashLog::install(ORVO_VERSION);
    if (!arguments.choosesPlatform && !hasDisplay()) {
        std::fputs(
            "orvo-video: No hay ninguna pantalla en la que abrir Orvo Video. En un terminal trabaja «orvo».\n", stderr);
        return EXIT_FAILURE;
    }

    std::optional<orvo::PortalTheme> theme(std::in_place);
    QApplication application(argc, argv);
    theme.reset();
    QApplication::setOrganizationName(QStringLiteral("OrvoVideo"));
    QApplication::setApplicationName(QStringLiteral("OrvoVideo"));
    QApplication::setApplicationDisplayName(QStringLiteral("Orvo Video"));
    QApplication::setDesktopFileName(QStringLiteral("es.orvo.video"));
    QApplication::setWindowIcon(QIcon::fromTheme(QStringLiteral("es.orvo.video")));
    QQuickStyle::setStyle(QStringLiteral("Basic"));
    orvo::MainWindow::chooseRenderer();
    speakSpanish(application);
    try {
        QStringList toOpen;
        for (const auto& argument : arguments.toOpen)
            toOpen += QFile::decodeName(QByteArray::fromStdString(argument));
        return runApplication(toOpen);
    } catch (const std::exception& error) {
        return endWith(QString::fromStdString(orvo::describe(error)));
    }
}
