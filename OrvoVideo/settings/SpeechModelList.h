#pragma once

#include <QAbstractListModel>
#include <QtQml/qqmlregistration.h>
#include <vector>

namespace orvo {

/// The speech models in the catalogue, with their size and whether they are installed.
class SpeechModelList : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
public:
    enum Role {
        NameRole = Qt::UserRole, ///< The value stored in the settings.
        TextRole, ///< For the user.
        InstalledRole,
    };
    Q_ENUM(Role)

    explicit SpeechModelList(QObject* parent = nullptr);

    /// Checks again which models are installed.
    Q_INVOKABLE void refresh();

    /// The row of a model; -1 if it is not in the catalogue.
    Q_INVOKABLE int rowOf(const QString& name) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

private:
    std::vector<bool> m_installed;
};

} // namespace orvo
