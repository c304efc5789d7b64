#include "OrvoVideo/model/lists/OverlayModel.h"

#include "OrvoVideo/model/ModelText.h"

namespace orvo {

OverlayModel::OverlayModel(QObject* parent)
    : RowModel(parent)
{
}

void OverlayModel::show(const VideoProject* project, Resolve resolve)
{
    m_resolve = std::move(resolve);
    replaceRows(m_overlays, project ? project->edit.overlays : SharedList<Overlay>(), byId<Overlay>());
}

int OverlayModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_overlays.size());
}

QVariant OverlayModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const auto& overlay = m_overlays[static_cast<std::size_t>(index.row())];
    switch (role) {
    case OverlayIdRole:
        return Text::from(overlay.id);
    case KindRole:
        return Text::from(std::string(textOf(overlay.kind)));
    case Qt::DisplayRole:
    case ContentRole:
        return Text::from(overlay.content);
    case SourceRole:
        return overlay.kind == Overlay::Kind::image && m_resolve ? m_resolve(overlay.content) : QUrl();
    case StartRole:
        return overlay.start;
    case EndRole:
        return overlay.end;
    case XRole:
        return overlay.x;
    case YRole:
        return overlay.y;
    case WidthRole:
        return overlay.width;
    default:
        return {};
    }
}

QHash<int, QByteArray> OverlayModel::roleNames() const
{
    return {{OverlayIdRole, "overlayId"}, {KindRole, "kind"}, {ContentRole, "content"}, {SourceRole, "source"},
        {StartRole, "start"}, {EndRole, "end"}, {XRole, "x"}, {YRole, "y"}, {WidthRole, "width"}};
}

} // namespace orvo
