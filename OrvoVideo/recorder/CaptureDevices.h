#pragma once

#include "OrvoVideo/model/Workers.h"

#include <QCoroTask>
#include <QHash>
#include <QObject>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

namespace orvo {

/// The microphones, outputs and cameras that can be recorded, as lists of "id" and "label": the first of each is the choice
/// of whatever is the default, with an empty "id".
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
    /// Whether there is one besides the default; true until that is known.
    bool hasMicrophone() const { return m_microphones.size() != 1; }

    /// Looks again, and tells with `listed`.
    Q_INVOKABLE void refresh();

    /// Whether a device is in one of the lists; true for the default one, and for any before the devices are known.
    Q_INVOKABLE static bool isThere(const QVariantList& devices, const QString& id);

    /// One of the lists with the chosen device: one that was unplugged comes last, marked as such.
    Q_INVOKABLE QVariantList withChosen(const QVariantList& devices, const QString& id) const;

    /// The row of a device in one of the lists; 0, the default, for one that is not there.
    Q_INVOKABLE static int rowOf(const QVariantList& devices, const QString& id);

signals:
    void listed();

private:
    QCoro::Task<> list();

    QVariantList m_microphones;
    QVariantList m_outputs;
    QVariantList m_cameras;
    QHash<QString, QString> m_labels; ///< Of every device that has been listed, by identifier.
    bool m_listing = false;
    Workers m_workers;
};

} // namespace orvo
