#include "OrvoVideo/model/lists/HistoryModel.h"

#include "OrvoVideo/model/ModelText.h"

namespace orvo {

HistoryModel::HistoryModel(QObject* parent)
    : RowModel(parent)
{
}

void HistoryModel::show(const History& history)
{
    std::vector<Row> rows{{.id = 0, .name = "principio", .isUndone = false}};
    for (auto& step : history.steps())
        rows.push_back({.id = step.id, .name = std::move(step.name), .isUndone = rows.size() > history.position()});
    // Beyond the limit a new step discards the oldest one. Announce the removal separately, so that both changes are at an
    // end of the list.
    if (m_rows.size() > 1 && rows.size() > 1 && m_rows[1].id < rows[1].id) {
        std::vector<Row> left = m_rows.items();
        left.erase(left.begin() + 1, std::ranges::lower_bound(left.begin() + 1, left.end(), rows[1].id, {}, &Row::id));
        replaceRows(m_rows, SharedList(std::move(left)), byId<Row>());
    }
    replaceRows(m_rows, SharedList(std::move(rows)), byId<Row>());
    if (std::exchange(m_position, static_cast<int>(history.position())) != m_position)
        emit positionChanged();
}

int HistoryModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

QVariant HistoryModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const auto& row = m_rows[static_cast<std::size_t>(index.row())];
    switch (role) {
    case Qt::DisplayRole:
    case NameRole:
        return Text::from(row.name);
    case UndoneRole:
        return row.isUndone;
    default:
        return {};
    }
}

QHash<int, QByteArray> HistoryModel::roleNames() const
{
    return {{NameRole, "name"}, {UndoneRole, "undone"}};
}

} // namespace orvo
