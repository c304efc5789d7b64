#pragma once

#include "OrvoVideo/AppModel.h"

#include <QMenu>
#include <QObject>
#include <QSystemTrayIcon>

namespace orvo {

/// The application's item in the tray of the desktop, where it has one: shows what is going on and brings the window back.
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

    AppModel& m_model;
    QMenu m_menu;
    QAction* m_status;
    QAction* m_cancel;
    QSystemTrayIcon m_icon;
};

} // namespace orvo
