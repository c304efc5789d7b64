#pragma once

#include "OrvoVideo/model/AppServices.h"
#include "OrvoVideo/model/Operation.h"
#include "OrvoVideo/model/Workers.h"

#include <QCoroTask>
#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace orvo {

/// What the application finds on this machine, and the places of it that the user can be shown. Main thread only.
class AppInstallation : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Belongs to the model")
    Q_PROPERTY(bool ffmpegAvailable READ ffmpegAvailable NOTIFY toolsChanged)
    Q_PROPERTY(QString permissionsText READ permissionsText CONSTANT)
public:
    /// Connects the browsers, in the background.
    AppInstallation(const AppServices& services, Operation& operation, Workers& workers);

    /// Whether an `ffmpeg` is found now. `toolsChanged` asks to look again: the application came to the front, perhaps from
    /// a terminal in which it was installed.
    bool ffmpegAvailable() const;
    /// What this desktop asks for, and does not, before screen, clicks and keys may be seen.
    QString permissionsText() const;

    /// Show the folder of the library, the folder for speech models (which is made), and the folder of the browser
    /// extension, which the user loads in the browser.
    Q_INVOKABLE void openProjectsFolder();
    Q_INVOKABLE void openModelFolder();
    Q_INVOKABLE void openExtensionFolder();
    /// Show the desktop's settings for the privacy of the screen, and for global shortcuts, or say that it has none.
    Q_INVOKABLE void openScreenPrivacy();
    Q_INVOKABLE void allowGlobalInput();

signals:
    void toolsChanged();

private:
    QCoro::Task<> setUpBrowsers();

    const AppServices& m_services;
    Operation& m_operation;
    Workers& m_workers;
};

} // namespace orvo
