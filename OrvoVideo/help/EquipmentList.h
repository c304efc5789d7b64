#pragma once

#include "OrvoVideo/equipment/Equipment.h"
#include "OrvoVideo/model/Workers.h"

#include <QAbstractListModel>
#include <QCoroTask>
#include <QString>
#include <QtQml/qqmlregistration.h>
#include <vector>

namespace orvo {

/// The equipment of this machine as of the last check; empty before the first one. Main thread only.
class EquipmentList : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    /// The name of the chosen speech model.
    Q_PROPERTY(QString speechModel READ speechModel WRITE setSpeechModel NOTIFY speechModelChanged)
    /// The problem with the application's own global shortcuts, which the check cannot see; empty when they work.
    Q_PROPERTY(QString shortcutsText READ shortcutsText WRITE setShortcutsText NOTIFY shortcutsTextChanged)
    Q_PROPERTY(bool looking READ looking NOTIFY lookingChanged)
    Q_PROPERTY(bool complete READ complete NOTIFY lookingChanged)
public:
    enum Role {
        NameRole = Qt::UserRole, ///< The machine-readable name, such as "ffmpeg".
        TitleRole,
        StateRole, ///< "good", "limited" or "missing".
        TextRole,
        AdviceRole,
        CommandRole,
    };
    Q_ENUM(Role)

    explicit EquipmentList(QObject* parent = nullptr);
    ~EquipmentList() override;

    /// Checks again, in the background. If calls overlap, the last one wins.
    Q_INVOKABLE void look();

    QString speechModel() const { return m_speechModel; }
    void setSpeechModel(const QString& name);
    QString shortcutsText() const { return m_shortcutsText; }
    void setShortcutsText(const QString& text);
    bool looking() const { return m_looking; }
    /// Whether nothing is missing.
    bool complete() const;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

signals:
    void speechModelChanged();
    void shortcutsTextChanged();
    void lookingChanged();

private:
    QCoro::Task<> run();
    void setLooking(bool looking);

    QString m_speechModel;
    QString m_shortcutsText;
    std::vector<EquipmentItem> m_items;
    bool m_looking = false;
    int m_looks = 0;
    Workers m_workers;
};

} // namespace orvo
