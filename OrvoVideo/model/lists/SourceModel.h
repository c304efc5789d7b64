#pragma once

#include "OrvoVideo/capture/screen/CaptureSources.h"
#include "OrvoVideo/model/lists/RowModel.h"

namespace orvo {

/// The displays or windows that can be recorded.
class SourceModel : public RowModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Belongs to the model")
public:
    enum Role {
        IdRole = Qt::UserRole,
        LabelRole,
        RectRole, ///< Its rectangle in the global display space.
    };
    Q_ENUM(Role)

    explicit SourceModel(QObject* parent = nullptr);

    void show(std::vector<CaptureSource> sources);

    /// The source with this identifier; null without one. Valid until the list changes.
    const CaptureSource* find(const std::string& id) const;
    /// The first source; null without one. Valid until the list changes.
    const CaptureSource* first() const { return m_sources.empty() ? nullptr : &m_sources[0]; }
    /// The row of a source, or -1.
    Q_INVOKABLE int rowOf(const QString& id) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

private:
    SharedList<CaptureSource> m_sources;
};

} // namespace orvo
