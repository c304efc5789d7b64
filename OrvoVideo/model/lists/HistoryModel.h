#pragma once

#include "OrvoVideo/model/History.h"
#include "OrvoVideo/model/lists/RowModel.h"

namespace orvo {

/// The versions of the open project, oldest first: the one in which it was opened, and one behind each step.
class HistoryModel : public RowModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Belongs to the model")
    /// The row of the present version; below it lies what was undone.
    Q_PROPERTY(int position READ position NOTIFY positionChanged)
public:
    enum Role {
        NameRole = Qt::UserRole, ///< What the step before this version has done, in Spanish.
        UndoneRole, ///< Whether the step was undone and can be done again.
    };
    Q_ENUM(Role)

    explicit HistoryModel(QObject* parent = nullptr);

    void show(const History& history);
    int position() const noexcept { return m_position; }

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

signals:
    void positionChanged();

private:
    struct Row {
        std::uint64_t id = 0; ///< Of the step; 0 for the version before the first.
        std::string name;
        bool isUndone = false;

        friend bool operator==(const Row&, const Row&) = default;
    };

    SharedList<Row> m_rows;
    int m_position = 0;
};

} // namespace orvo
