#pragma once

#include "OrvoVideo/model/AppServices.h"
#include "OrvoVideo/model/Operation.h"
#include "OrvoVideo/model/Workers.h"

#include <QCoroTask>
#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace orvo {

/// The tools and browsers on this machine, and the folders and desktop settings that the user can open. Main thread only.
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
    /// Sets up the browser integration in the background.
    AppInstallation(const AppServices& services, Operation& operation, Workers& workers);

    /// Whether an `ffmpeg` is found now. `toolsChanged` asks to check again when the application comes to the front: the
    /// user may have installed it in a terminal.
    bool ffmpegAvailable() const;
    /// Explains to the user which permissions this desktop requires for the screen, clicks and keys.
    QString permissionsText() const;

    /// The command that installs ffmpeg on this system; empty if unknown.
    QString ffmpegCommand() const;
    /// The folder of the browser extension, which the user loads in the browser.
    QString extensionFolder() const;
    /// Whether the extension has ever called the application's helper. `noteExtension` checks again.
    bool extensionConnected() const { return m_extensionConnected; }
    void noteExtension();
    /// The log of the last crash; empty without one.
    QString crashLog() const;

    /// Copies a text to the clipboard, then shows `what` in the status: "Orden copiada". If the desktop refuses, reports an
    /// error that contains the text.
    Q_INVOKABLE void copy(const QString& text, const QString& what);

    /// Open the folder of the library, of the speech models (created if missing) and of the browser extension.
    Q_INVOKABLE void openProjectsFolder();
    Q_INVOKABLE void openModelFolder();
    Q_INVOKABLE void openExtensionFolder();
    /// Open the desktop's settings for screen privacy and for global shortcuts, or report that it has none.
    Q_INVOKABLE void openScreenPrivacy();
    Q_INVOKABLE void allowGlobalInput();
    /// Opens the desktop's audio settings, or reports that it has none.
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
