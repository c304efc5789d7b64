#include "OrvoVideo/model/lists/RowModel.h"

namespace orvo {

RowModel::RowModel(QObject* parent)
    : QAbstractListModel(parent)
{
}

QVariantMap RowModel::get(int row) const
{
    QVariantMap values;
    const QModelIndex place = index(row);
    if (!place.isValid())
        return values;
    const auto roles = roleNames();
    for (auto role = roles.begin(); role != roles.end(); ++role)
        values.insert(QString::fromLatin1(role.value()), place.data(role.key()));
    return values;
}

void RowModel::announce(const RowChange& step, const std::function<void()>& apply)
{
    const auto first = static_cast<int>(step.first);
    const auto last = static_cast<int>(step.last);
    const auto to = static_cast<int>(step.to);
    switch (step.kind) {
    case RowChange::Kind::remove:
        beginRemoveRows({}, first, last);
        apply();
        endRemoveRows();
        break;
    case RowChange::Kind::move:
        // Qt counts the destination before the row is removed.
        beginMoveRows({}, first, first, {}, to > first ? to + 1 : to);
        apply();
        endMoveRows();
        break;
    case RowChange::Kind::insert:
        beginInsertRows({}, first, last);
        apply();
        endInsertRows();
        break;
    case RowChange::Kind::change:
        apply();
        emit dataChanged(index(first), index(last));
        break;
    }
}

} // namespace orvo
