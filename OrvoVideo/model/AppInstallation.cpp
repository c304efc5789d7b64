#include "OrvoVideo/model/AppInstallation.h"

#include "OrvoVideo/equipment/InstallCommand.h"
#include "OrvoVideo/transcription/SpeechModels.h"
#include "VideoCore/CrashLog.h"
#include "VideoCore/Error.h"
#include "VideoCore/ExtensionMark.h"
#include "VideoMedia/ProcessRunner.h"

#include <QGuiApplication>
#include <utility>

namespace orvo {

AppInstallation::AppInstallation(const AppServices& services, Operation& operation, Workers& workers)
    : m_services(services)
    , m_operation(operation)
    , m_workers(workers)
    , m_extensionConnected(ExtensionMark::exists())
{
    if (const auto* desktop = qobject_cast<QGuiApplication*>(QCoreApplication::instance()))
        connect(desktop, &QGuiApplication::applicationStateChanged, this, &AppInstallation::toolsChanged);
    m_operation.start(setUpBrowsers());
}

QCoro::Task<> AppInstallation::setUpBrowsers()
{
    try {
        co_await m_workers.run([browsers = m_services.browsers] { browsers.setUp(); });
    } catch (const std::exception& error) {
        m_operation.setStatus(QStringLiteral("La extensión necesita configurar su conexión al Mac: ")
            + QString::fromStdString(describe(error)));
    }
}

bool AppInstallation::ffmpegAvailable() const
{
    return ProcessRunner::ffmpeg().has_value();
}

QString AppInstallation::ffmpegCommand() const
{
    return QString::fromStdString(installCommand(Package::ffmpeg));
}

QString AppInstallation::extensionFolder() const
{
    return QString::fromStdString(m_services.browsers.extensionFolder().string());
}

void AppInstallation::noteExtension()
{
    if (std::exchange(m_extensionConnected, ExtensionMark::exists()) != m_extensionConnected)
        emit extensionConnectedChanged();
}

QString AppInstallation::crashLog() const
{
    const auto file = CrashLog::file();
    std::error_code ignored;
    return std::filesystem::exists(file, ignored) ? QString::fromStdString(file.string()) : QString();
}

void AppInstallation::copy(const QString& text, const QString& what)
{
    m_services.pasteboard->setText(text.toStdString(), [this, text, what](bool isSet) {
        if (isSet)
            m_operation.setStatus(what);
        else
            m_operation.setErrorMessage(
                QStringLiteral("El escritorio no ha dejado copiar. Selecciónalo y cópialo tú:\n%1").arg(text));
    });
}

void AppInstallation::openProjectsFolder()
{
    m_services.workspace->openFolder(m_services.store->root());
}

void AppInstallation::openModelFolder()
{
    const auto folder = SpeechModels::folder();
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error)
        m_operation.setErrorMessage(
            QString::fromStdString(describe(std::filesystem::filesystem_error("create", folder, error))));
    else
        m_services.workspace->openFolder(folder);
}

QString AppInstallation::permissionsText() const
{
    if (QGuiApplication::platformName().startsWith(QLatin1String("wayland")))
        return QStringLiteral(
            "En este escritorio (Wayland) no hay que dar permisos por adelantado: el propio escritorio pregunta qué "
            "se puede grabar cuando empieza una grabación, y confirma los atajos globales.");
    return QStringLiteral(
        "En este escritorio (X11) no hace falta ningún permiso para grabar la pantalla, marcar los clics y usar "
        "atajos globales.");
}

void AppInstallation::openExtensionFolder()
{
    const auto folder = m_services.browsers.extensionFolder();
    std::error_code error;
    if (std::filesystem::is_directory(folder, error))
        m_services.workspace->openFolder(folder);
    else
        m_operation.setErrorMessage(
            QStringLiteral("Abre la aplicación instalada para preparar la extensión de Chrome y Brave."));
}

void AppInstallation::openScreenPrivacy()
{
    if (!m_services.workspace->openSettings(Workspace::SettingsPage::privacy))
        m_operation.setErrorMessage(
            QStringLiteral("Este escritorio no tiene ajustes de privacidad de la pantalla. ") + permissionsText());
}

void AppInstallation::allowGlobalInput()
{
    if (!m_services.workspace->openSettings(Workspace::SettingsPage::shortcuts))
        m_operation.setErrorMessage(
            QStringLiteral("Este escritorio no tiene ajustes de atajos globales. ") + permissionsText());
}

void AppInstallation::openAudioSettings()
{
    if (!m_services.workspace->openSettings(Workspace::SettingsPage::audio))
        m_operation.setErrorMessage(
            QStringLiteral("Este escritorio no tiene ajustes de sonido. Instala «pavucontrol» para elegir el micrófono."));
}

void AppInstallation::revealCrashLog()
{
    if (const QString log = crashLog(); !log.isEmpty())
        m_services.workspace->reveal(log.toStdString());
}

} // namespace orvo
