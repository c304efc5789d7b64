#pragma once

#include "OrvoVideo/model/lists/RowModel.h"
#include "VideoCore/VideoProject.h"

namespace orvo {

/// The current proposals of the analysis.
class SuggestionModel : public RowModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Belongs to the model")
public:
    enum Role {
        SuggestionIdRole = Qt::UserRole, ///< Text form of the identifier.
        KindRole, ///< "silence", "filler" or "zoom".
        LabelRole, ///< In Spanish.
        StartRole, ///< Seconds.
        EndRole, ///< Seconds.
    };
    Q_ENUM(Role)

    explicit SuggestionModel(QObject* parent = nullptr);

    const SharedList<EditSuggestion>& suggestions() const noexcept { return m_suggestions; }
    void setSuggestions(SharedList<EditSuggestion> suggestions);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

private:
    SharedList<EditSuggestion> m_suggestions;
};

} // namespace orvo
