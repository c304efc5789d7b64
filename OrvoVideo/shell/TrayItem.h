#pragma once

#include "OrvoVideo/model/AppModel.h"

#include <QIcon>
#include <QMenu>
#include <QObject>
#include <QSystemTrayIcon>

namespace orvo {

/// The application's item in the tray of the desktop, where it has one: shows what is going on, red while something is
/// recorded, controls the recording and brings the window back.
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
