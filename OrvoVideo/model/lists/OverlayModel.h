#pragma once

#include "OrvoVideo/model/lists/RowModel.h"
#include "VideoCore/VideoProject.h"

#include <QUrl>
#include <functional>

namespace orvo {

/// The text and image overlays of the open project, in stored order.
class OverlayModel : public RowModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Belongs to the model")
public:
    enum Role {
        OverlayIdRole = Qt::UserRole, ///< Text form of the identifier.
        KindRole, ///< "text" or "image".
        ContentRole, ///< The text, or the path of the image in the project.
        SourceRole, ///< URL of the image file; empty for texts and for files outside the project.
        StartRole, ///< Seconds.
        EndRole, ///< Seconds.
        XRole, ///< Left edge, fraction of the frame width.
        YRole, ///< Top edge, fraction of the frame height.
        WidthRole, ///< Fraction of the frame width; only for images.
    };
    Q_ENUM(Role)

    /// Returns the URL of a file of the shown project.
    using Resolve = std::function<QUrl(const std::string& file)>;

    explicit OverlayModel(QObject* parent = nullptr);

    /// Shows the overlays of a project; none for a null pointer.
    void show(const VideoProject* project, Resolve resolve);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

private:
    SharedList<Overlay> m_overlays;
    Resolve m_resolve;
};

} // namespace orvo
