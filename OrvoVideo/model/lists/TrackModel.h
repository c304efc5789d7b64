#pragma once

#include "OrvoVideo/model/lists/RowModel.h"
#include "VideoCore/VideoProject.h"

#include <QUrl>
#include <functional>

namespace orvo {

/// The media tracks of the open project, in stored order.
class TrackModel : public RowModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Belongs to the model")
public:
    enum Role {
        TrackIdRole = Qt::UserRole, ///< Text form of the identifier.
        KindRole, ///< "screen", "camera", "microphone", "system" or "clip".
        LabelRole, ///< The kind in Spanish.
        StartRole, ///< Seconds.
        DurationRole, ///< Seconds.
        VolumeRole, ///< Linear gain.
        SourceRole, ///< URL of the file; empty if outside the project.
    };
    Q_ENUM(Role)

    /// Returns the URL of a file of the shown project.
    using Resolve = std::function<QUrl(const std::string& file)>;

    explicit TrackModel(QObject* parent = nullptr);

    /// Shows the tracks of a project; none for a null pointer.
    void show(const VideoProject* project, Resolve resolve);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

private:
    SharedList<MediaTrack> m_tracks;
    Resolve m_resolve;
};

} // namespace orvo
