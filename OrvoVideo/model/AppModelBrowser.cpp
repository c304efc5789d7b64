#include "OrvoVideo/model/AppModel.h"
#include "Platform/notifications/Notifications.h"
#include "VideoCore/Error.h"

namespace orvo {

QCoro::Task<> AppModel::setUpBrowsers()
{
    try {
        co_await m_workers.run([browsers = m_services.browsers] { browsers.setUp(); });
    } catch (const std::exception& error) {
        setStatus(QStringLiteral("La extensión necesita configurar su conexión al Mac: ")
            + QString::fromStdString(describe(error)));
    }
}

void AppModel::hearNotification(std::string_view name)
{
    if (name == notification::tabStarted || name == notification::tabFinished)
        refreshLibrary();
}

void AppModel::openExtensionFolder()
{
    const auto folder = m_services.browsers.extensionFolder();
    std::error_code error;
    if (std::filesystem::is_directory(folder, error))
        m_services.workspace->openFolder(folder);
    else
        setErrorMessage(QStringLiteral("Abre la aplicación instalada para preparar la extensión de Chrome y Brave."));
}

} // namespace orvo
