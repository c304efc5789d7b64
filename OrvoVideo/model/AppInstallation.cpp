#include "OrvoVideo/model/AppModel.h"
#include "VideoCore/Error.h"
#include "VideoMedia/ProcessRunner.h"

#include <QGuiApplication>

namespace orvo {

bool AppModel::ffmpegAvailable() const
{
    return ProcessRunner::ffmpeg().has_value();
}

void AppModel::openProjectsFolder()
{
    m_services.workspace->openFolder(store().root());
}

void AppModel::openModelFolder()
{
    const auto folder = SpeechModels::folder();
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error)
        setErrorMessage(QString::fromStdString(describe(std::filesystem::filesystem_error("create", folder, error))));
    else
        m_services.workspace->openFolder(folder);
}

QString AppModel::permissionsText() const
{
    if (QGuiApplication::platformName().startsWith(QLatin1String("wayland")))
        return QStringLiteral(
            "En este escritorio (Wayland) no hay que dar permisos por adelantado: el propio escritorio pregunta qué "
            "se puede grabar cuando empieza una grabación, y confirma los atajos globales.");
    return QStringLiteral(
        "En este escritorio (X11) no hace falta ningún permiso para grabar la pantalla, marcar los clics y usar "
        "atajos globales.");
}

void AppModel::openScreenPrivacy()
{
    if (!m_services.workspace->openSettings(Workspace::SettingsPage::privacy))
        setErrorMessage(
            QStringLiteral("Este escritorio no tiene ajustes de privacidad de la pantalla. ") + permissionsText());
}

void AppModel::allowGlobalInput()
{
    if (!m_services.workspace->openSettings(Workspace::SettingsPage::shortcuts))
        setErrorMessage(QStringLiteral("Este escritorio no tiene ajustes de atajos globales. ") + permissionsText());
}

} // namespace orvo
