#pragma once

#include "OrvoVideo/model/lists/RowModel.h"
#include "VideoCore/VideoProject.h"

namespace orvo {

/// The zoom points of the open project, in stored order.
class ZoomModel : public RowModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Belongs to the model")
public:
    enum Role {
        EventIdRole = Qt::UserRole, ///< Text form of the identifier.
        TimeRole, ///< Seconds.
        DurationRole, ///< Seconds.
        ScaleRole, ///< Magnification.
        XRole, ///< Centre, fraction of the width.
        YRole, ///< Centre, fraction of the height.
    };
    Q_ENUM(Role)

    explicit ZoomModel(QObject* parent = nullptr);

    /// Shows the zoom points of a project; none for a null pointer.
    void show(const VideoProject* project);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

private:
    SharedList<PointerEvent> m_events; ///< All events, to detect changes.
    SharedList<PointerEvent> m_zooms;
};

} // namespace orvo
