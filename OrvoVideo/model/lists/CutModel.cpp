#include "OrvoVideo/model/lists/CutModel.h"

namespace orvo {

CutModel::CutModel(QObject* parent)
    : RowModel(parent)
{
}

void CutModel::show(const VideoProject* project)
{
    replaceRows(m_cuts, project ? project->edit.cuts : SharedList<TimeSpan>(), {});
}

int CutModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_cuts.size());
}

QVariant CutModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const auto& cut = m_cuts[static_cast<std::size_t>(index.row())];
    switch (role) {
    case StartRole:
        return cut.start;
    case EndRole:
        return cut.end;
    case DurationRole:
        return cut.duration();
    default:
        return {};
    }
}

QHash<int, QByteArray> CutModel::roleNames() const
{
    return {{StartRole, "start"}, {EndRole, "end"}, {DurationRole, "duration"}};
}

} // namespace orvo
