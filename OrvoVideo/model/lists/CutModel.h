#pragma once

#include "OrvoVideo/model/lists/RowModel.h"
#include "VideoCore/VideoProject.h"

namespace orvo {

/// The cuts of the open project, in stored order.
class CutModel : public RowModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Belongs to the model")
public:
    enum Role {
        StartRole = Qt::UserRole, ///< Seconds.
        EndRole, ///< Seconds.
        DurationRole, ///< Seconds.
    };
    Q_ENUM(Role)

    explicit CutModel(QObject* parent = nullptr);

    /// Shows the cuts of a project; none for a null pointer.
    void show(const VideoProject* project);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

private:
    SharedList<TimeSpan> m_cuts;
};

} // namespace orvo
