#include "OrvoVideo/shell/TrayItem.h"

#include "OrvoVideo/ui/Icon.h"
#include "OrvoVideo/ui/Wording.h"

#include <QIcon>

namespace orvo {

namespace {

QIcon trayIcon(const QColor& colour)
{
    QIcon icon;
    for (const int pixels : {16, 22, 32, 64})
        icon.addPixmap(QPixmap::fromImage(Icon::image(QStringLiteral("circle-dot"), colour, pixels)));
    return icon;
}

} // namespace

TrayItem::TrayItem(AppModel& model, QObject* parent)
    : QObject(parent)
    , m_model(model)
    , m_status(m_menu.addAction(QString()))
    , m_cancel(m_menu.addAction(QStringLiteral("Cancelar")))
    , m_pause(m_menu.addAction(QString()))
    , m_zoom(m_menu.addAction(QStringLiteral("Añadir zoom")))
    , m_stop(m_menu.addAction(QStringLiteral("Terminar y guardar")))
    , m_usualIcon(trayIcon(QColor(0xB0, 0x87, 0xFF)))
    , m_recordingIcon(trayIcon(QColor(0xFF, 0x4D, 0x4D)))
    , m_icon(m_usualIcon)
{
    m_status->setEnabled(false);
    connect(m_cancel, &QAction::triggered, &m_model, &AppModel::cancel);
    connect(m_pause, &QAction::triggered, &m_model, &AppModel::togglePause);
    connect(m_zoom, &QAction::triggered, m_model.recorder(), &Recorder::markZoom);
    connect(m_stop, &QAction::triggered, &m_model, &AppModel::stopRecording);
    m_menu.addSeparator();
    connect(m_menu.addAction(QStringLiteral("Mostrar Orvo Video")), &QAction::triggered, this, &TrayItem::windowWanted);
    m_quit = m_menu.addAction(QStringLiteral("Salir"));
    connect(m_quit, &QAction::triggered, this, &TrayItem::quitWanted);
    connect(&m_icon, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger)
            emit windowWanted();
    });
    for (const auto change : {&AppModel::busyChanged, &AppModel::progressChanged, &AppModel::statusChanged})
        connect(&m_model, change, this, &TrayItem::followModel);
    connect(m_model.recorder(), &Recorder::timeChanged, this, &TrayItem::followModel);
    connect(m_model.recorder(), &Recorder::phaseChanged, this, &TrayItem::followRecording);
    connect(&m_model, &AppModel::busyChanged, this, &TrayItem::followRecording);
    m_icon.setContextMenu(&m_menu);
    followModel();
    followRecording();
    m_icon.show();
}

void TrayItem::followModel()
{
    QString text = m_model.status();
    if (m_model.isRecording())
        text += QStringLiteral(" · ") + Wording::time(m_model.recorder()->time());
    else if (m_model.busy() && !m_model.capturing())
        text += QStringLiteral(" %1 %").arg(qRound(m_model.progress() * 100));
    if (text == m_status->text())
        return;
    m_status->setText(text);
    m_icon.setToolTip(QStringLiteral("Orvo Video — ") + text);
}

void TrayItem::followRecording()
{
    const bool recording = m_model.isRecording();
    m_cancel->setVisible(m_model.busy() && (m_model.recorder()->countdown() > 0 || !m_model.capturing()));
    m_pause->setText(m_model.isPaused() ? QStringLiteral("Continuar") : QStringLiteral("Pausar"));
    for (auto* action : {m_pause, m_zoom, m_stop})
        action->setVisible(recording);
    m_zoom->setEnabled(!m_model.isPaused());
    m_quit->setEnabled(!m_model.capturing());
    m_icon.setIcon(recording ? m_recordingIcon : m_usualIcon);
}

} // namespace orvo
