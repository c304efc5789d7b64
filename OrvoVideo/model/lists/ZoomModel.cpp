#include "OrvoVideo/model/lists/ZoomModel.h"

#include "OrvoVideo/model/ModelText.h"

namespace orvo {

ZoomModel::ZoomModel(QObject* parent)
    : RowModel(parent)
{
}

void ZoomModel::show(const VideoProject* project)
{
    const auto events = project ? project->edit.events : SharedList<PointerEvent>();
    if (m_events.sharesStorageWith(events))
        return;
    m_events = events;
    std::vector<PointerEvent> zooms;
    std::ranges::copy_if(
        events, std::back_inserter(zooms), [](const auto& event) { return event.kind == PointerKind::zoom; });
    replaceRows(m_zooms, SharedList(std::move(zooms)), byId<PointerEvent>());
}

int ZoomModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_zooms.size());
}

QVariant ZoomModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const auto& zoom = m_zooms[static_cast<std::size_t>(index.row())];
    switch (role) {
    case EventIdRole:
        return Text::from(zoom.id);
    case TimeRole:
        return zoom.time;
    case DurationRole:
        return zoom.duration;
    case ScaleRole:
        return zoom.scale;
    case XRole:
        return zoom.x;
    case YRole:
        return zoom.y;
    default:
        return {};
    }
}

QHash<int, QByteArray> ZoomModel::roleNames() const
{
    return {{EventIdRole, "eventId"}, {TimeRole, "time"}, {DurationRole, "duration"}, {ScaleRole, "scale"}, {XRole, "x"},
        {YRole, "y"}};
}

} // namespace orvo
