#pragma once

#include "OrvoVideo/model/AppModel.h"

#include <QIcon>
#include <QMenu>
#include <QObject>
#include <QSystemTrayIcon>

namespace orvo {

/// The application's icon in the desktop's tray, if there is one. Shows the status, turns red while recording, and offers
/// the recording controls and a way back to the window.
class TrayItem final : public QObject {
    Q_OBJECT
public:
    explicit TrayItem(AppModel& model, QObject* parent = nullptr);

signals:
    /// The user asks for the window.
    void windowWanted();
    /// The user asks to end the application.
    void quitWanted();

private:
    void followModel();
    void followRecording();

    AppModel& m_model;
    QMenu m_menu;
    QAction* m_status;
    QAction* m_cancel;
    QAction* m_pause;
    QAction* m_zoom;
    QAction* m_stop;
    QAction* m_quit = nullptr;
    QIcon m_usualIcon;
    QIcon m_recordingIcon;
    QSystemTrayIcon m_icon;
};

} // namespace orvo
