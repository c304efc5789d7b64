#include "OrvoVideo/shell/TrayItem.h"

#include "OrvoVideo/ui/Icon.h"

#include <QIcon>

namespace orvo {

namespace {

QIcon trayIcon()
{
    QIcon icon;
    for (const int pixels : {16, 22, 32, 64})
        icon.addPixmap(QPixmap::fromImage(Icon::image(QStringLiteral("circle-dot"), QColor(0xB0, 0x87, 0xFF), pixels)));
    return icon;
}

} // namespace

TrayItem::TrayItem(AppModel& model, QObject* parent)
    : QObject(parent)
    , m_model(model)
    , m_status(m_menu.addAction(QString()))
    , m_cancel(m_menu.addAction(QStringLiteral("Cancelar")))
    , m_icon(trayIcon())
{
    m_status->setEnabled(false);
    connect(m_cancel, &QAction::triggered, &m_model, &AppModel::cancel);
    m_menu.addSeparator();
    connect(m_menu.addAction(QStringLiteral("Mostrar Orvo Video")), &QAction::triggered, this, &TrayItem::windowWanted);
    connect(m_menu.addAction(QStringLiteral("Salir")), &QAction::triggered, this, &TrayItem::quitWanted);
    connect(&m_icon, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger)
            emit windowWanted();
    });
    for (const auto change : {&AppModel::busyChanged, &AppModel::progressChanged, &AppModel::statusChanged})
        connect(&m_model, change, this, &TrayItem::followModel);
    m_icon.setContextMenu(&m_menu);
    followModel();
    m_icon.show();
}

void TrayItem::followModel()
{
    QString text = m_model.status();
    if (m_model.busy())
        text += QStringLiteral(" %1 %").arg(qRound(m_model.progress() * 100));
    m_status->setText(text);
    m_cancel->setVisible(m_model.busy());
    m_icon.setToolTip(QStringLiteral("Orvo Video — ") + text);
}

} // namespace orvo
