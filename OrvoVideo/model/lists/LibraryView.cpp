#include "OrvoVideo/model/lists/LibraryView.h"

#include "OrvoVideo/library/ProjectOrder.h"
#include "VideoCore/TextSearch.h"

namespace orvo {

namespace {

const QString bySize = QStringLiteral("size");

} // namespace

LibraryView::LibraryView(QObject* parent)
    : QSortFilterProxyModel(parent)
{
    setDynamicSortFilter(true);
    for (const auto signal : {&QAbstractItemModel::rowsInserted, &QAbstractItemModel::rowsRemoved})
        connect(this, signal, this, &LibraryView::countChanged);
    connect(this, &QAbstractItemModel::modelReset, this, &LibraryView::countChanged);
}

void LibraryView::setLibrary(LibraryModel* library)
{
    if (m_library == library)
        return;
    m_library = library;
    setSourceModel(library);
    sort(0);
    emit libraryChanged();
    emit countChanged();
}

void LibraryView::setSearch(const QString& search)
{
    if (m_search == search)
        return;
    m_search = search;
    m_folded = folded(search.trimmed().toStdString());
    invalidateFilter();
    emit searchChanged();
}

void LibraryView::setOrder(const QString& order)
{
    if (m_order == order || (order != bySize && !parseProjectOrder(order.toStdString())))
        return;
    m_order = order;
    invalidate();
    emit orderChanged();
}

QString LibraryView::idAt(int row) const
{
    return data(index(row, 0), LibraryModel::ProjectIdRole).toString();
}

int LibraryView::rowOf(const QString& projectId) const
{
    for (int row = 0; row < rowCount(); ++row) {
        if (idAt(row) == projectId)
            return row;
    }
    return -1;
}

bool LibraryView::filterAcceptsRow(int row, const QModelIndex& parent) const
{
    if (m_folded.empty() || parent.isValid())
        return true;
    return folded(m_library->projects()[static_cast<std::size_t>(row)].title).contains(m_folded);
}

bool LibraryView::lessThan(const QModelIndex& left, const QModelIndex& right) const
{
    const auto& projects = m_library->projects();
    const auto& a = projects[static_cast<std::size_t>(left.row())];
    const auto& b = projects[static_cast<std::size_t>(right.row())];
    if (m_order == bySize) {
        const auto bytes = [](const QModelIndex& row) { return row.data(LibraryModel::BytesRole).toDouble(); };
        return bytes(left) > bytes(right);
    }
    return comesBefore(*parseProjectOrder(m_order.toStdString()), a, b);
}

} // namespace orvo
