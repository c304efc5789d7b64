#include "OrvoVideo/model/lists/SourceModel.h"

#include <QRectF>
#include <algorithm>

namespace orvo {

SourceModel::SourceModel(QObject* parent)
    : RowModel(parent)
{
}

void SourceModel::show(std::vector<CaptureSource> sources)
{
    replaceRows(m_sources, SharedList<CaptureSource>(std::move(sources)), byId<CaptureSource>());
}

const CaptureSource* SourceModel::find(const std::string& id) const
{
    const auto found = std::ranges::find(m_sources, id, &CaptureSource::id);
    return found == m_sources.end() ? nullptr : &*found;
}

int SourceModel::rowOf(const QString& id) const
{
    const auto found = std::ranges::find(m_sources, id.toStdString(), &CaptureSource::id);
    return found == m_sources.end() ? -1 : static_cast<int>(found - m_sources.begin());
}

int SourceModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_sources.size());
}

QVariant SourceModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const auto& source = m_sources[static_cast<std::size_t>(index.row())];
    switch (role) {
    case IdRole:
        return QString::fromStdString(source.id);
    case Qt::DisplayRole:
    case LabelRole:
        return QString::fromStdString(source.label);
    case RectRole:
        return QRectF(source.rect.x, source.rect.y, source.rect.width, source.rect.height);
    default:
        return {};
    }
}

QHash<int, QByteArray> SourceModel::roleNames() const
{
    return {{IdRole, "sourceId"}, {LabelRole, "label"}, {RectRole, "rect"}};
}

} // namespace orvo
