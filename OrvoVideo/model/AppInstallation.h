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
    Q_PROPERTY(QString ffmpegCommand READ ffmpegCommand CONSTANT)
    Q_PROPERTY(QString extensionFolder READ extensionFolder CONSTANT)
    Q_PROPERTY(bool extensionConnected READ extensionConnected NOTIFY extensionConnectedChanged)
    Q_PROPERTY(QString crashLog READ crashLog CONSTANT)
public:
    /// Connects the browsers, in the background.
    AppInstallation(const AppServices& services, Operation& operation, Workers& workers);

    /// Whether an `ffmpeg` is found now. `toolsChanged` asks to look again: the application came to the front, perhaps from
    /// a terminal in which it was installed.
    bool ffmpegAvailable() const;
    /// What this desktop asks for, and does not, before screen, clicks and keys may be seen.
    QString permissionsText() const;

    /// The command that installs ffmpeg on this system; empty where it is not known.
    QString ffmpegCommand() const;
    /// The folder of the browser extension, which the user loads in the browser.
    QString extensionFolder() const;
    /// Whether the extension has called the application's helper before. `noteExtension` looks again.
    bool extensionConnected() const { return m_extensionConnected; }
    void noteExtension();
    /// The log of the last crash; empty when there was none.
    QString crashLog() const;

    /// Copies a text for the user, who is told whether the desktop took it. `what` is what the text is, for the status:
    /// "Orden copiada".
    Q_INVOKABLE void copy(const QString& text, const QString& what);

    /// Show the folder of the library, the folder for speech models (which is made), and the folder of the browser
    /// extension, which the user loads in the browser.
    Q_INVOKABLE void openProjectsFolder();
    Q_INVOKABLE void openModelFolder();
    Q_INVOKABLE void openExtensionFolder();
    /// Show the desktop's settings for the privacy of the screen, and for global shortcuts, or say that it has none.
    Q_INVOKABLE void openScreenPrivacy();
    Q_INVOKABLE void allowGlobalInput();
    /// Shows the desktop's settings for sound, or says that it has none.
    Q_INVOKABLE void openAudioSettings();
    /// Shows the log of the last crash in its folder.
    Q_INVOKABLE void revealCrashLog();

signals:
    void toolsChanged();
    void extensionConnectedChanged();

private:
    QCoro::Task<> setUpBrowsers();

    const AppServices& m_services;
    Operation& m_operation;
    Workers& m_workers;
    bool m_extensionConnected;
};

} // namespace orvo
