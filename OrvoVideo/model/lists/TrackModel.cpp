#include "OrvoVideo/model/lists/TrackModel.h"

#include "OrvoVideo/model/ModelText.h"

namespace orvo {

TrackModel::TrackModel(QObject* parent)
    : RowModel(parent)
{
}

void TrackModel::show(const VideoProject* project, Resolve resolve)
{
    m_resolve = std::move(resolve);
    replaceRows(m_tracks, project ? project->tracks : SharedList<MediaTrack>(), byId<MediaTrack>());
}

int TrackModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_tracks.size());
}

QVariant TrackModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const auto& track = m_tracks[static_cast<std::size_t>(index.row())];
    switch (role) {
    case TrackIdRole:
        return Text::from(track.id);
    case KindRole:
        return Text::from(std::string(textOf(track.kind)));
    case Qt::DisplayRole:
    case LabelRole:
        return Text::ofKind(track.kind);
    case StartRole:
        return track.start;
    case DurationRole:
        return track.duration;
    case VolumeRole:
        return track.volume;
    case SourceRole:
        return m_resolve ? m_resolve(track.file) : QUrl();
    default:
        return {};
    }
}

QHash<int, QByteArray> TrackModel::roleNames() const
{
    return {{TrackIdRole, "trackId"}, {KindRole, "kind"}, {LabelRole, "label"}, {StartRole, "start"},
        {DurationRole, "duration"}, {VolumeRole, "volume"}, {SourceRole, "source"}};
}

} // namespace orvo
