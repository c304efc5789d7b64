#pragma once

#include "OrvoVideo/model/History.h"
#include "OrvoVideo/model/lists/RowModel.h"

namespace orvo {

/// The versions of the open project, oldest first: the opened version, then one after each step.
class HistoryModel : public RowModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Belongs to the model")
    /// The row of the present version; the undone versions are below it.
    Q_PROPERTY(int position READ position NOTIFY positionChanged)
public:
    enum Role {
        NameRole = Qt::UserRole, ///< The name of the step that led to this version, in Spanish.
        UndoneRole, ///< Whether the step is undone and can be redone.
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
        std::uint64_t id = 0; ///< The identifier of the step; 0 for the opened version.
        std::string name;
        bool isUndone = false;

        friend bool operator==(const Row&, const Row&) = default;
    };

    SharedList<Row> m_rows;
    int m_position = 0;
};

} // namespace orvo
