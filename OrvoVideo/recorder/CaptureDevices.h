#pragma once

#include "OrvoVideo/model/Workers.h"

#include <QCoroTask>
#include <QHash>
#include <QObject>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

namespace orvo {

/// The available microphones, outputs and cameras, as lists of "id" and "label". The first entry of each list is the
/// default device, with an empty "id".
class CaptureDevices : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QVariantList microphones READ microphones NOTIFY listed)
    Q_PROPERTY(QVariantList outputs READ outputs NOTIFY listed)
    Q_PROPERTY(QVariantList cameras READ cameras NOTIFY listed)
    Q_PROPERTY(bool hasMicrophone READ hasMicrophone NOTIFY listed)
public:
    explicit CaptureDevices(QObject* parent = nullptr);
    ~CaptureDevices() override;

    QVariantList microphones() const { return m_microphones; }
    QVariantList outputs() const { return m_outputs; }
    QVariantList cameras() const { return m_cameras; }
    /// Whether there is any microphone; true until the devices are listed.
    bool hasMicrophone() const { return m_microphones.size() != 1; }

    /// Lists the devices again and emits `listed`.
    Q_INVOKABLE void refresh();

    /// Whether a device is in the list. Also true for the default device, and before the devices are listed.
    Q_INVOKABLE static bool isThere(const QVariantList& devices, const QString& id);

    /// The list with the chosen device; an unplugged one is appended and marked as disconnected.
    Q_INVOKABLE QVariantList withChosen(const QVariantList& devices, const QString& id) const;

    /// The row of a device in the list; 0 (the default) when it is missing.
    Q_INVOKABLE static int rowOf(const QVariantList& devices, const QString& id);

signals:
    void listed();

private:
    QCoro::Task<> list();

    QVariantList m_microphones;
    QVariantList m_outputs;
    QVariantList m_cameras;
    QHash<QString, QString> m_labels; ///< The labels of all devices seen so far, by identifier.
    bool m_listing = false;
    Workers m_workers;
};

} // namespace orvo
