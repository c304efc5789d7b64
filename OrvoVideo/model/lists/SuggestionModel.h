#pragma once

#include "OrvoVideo/model/lists/RowModel.h"
#include "VideoCore/VideoProject.h"

namespace orvo {

/// The offered suggestions, all or of one kind.
class SuggestionModel : public RowModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Belongs to the model")
    /// The seconds that applying all of them saves, and the resulting length in seconds.
    Q_PROPERTY(double gain READ gain NOTIFY outcomeChanged)
    Q_PROPERTY(double resultingLength READ resultingLength NOTIFY outcomeChanged)
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
    double gain() const noexcept { return m_gain; }
    double resultingLength() const noexcept { return m_resultingLength; }
    void setOutcome(double gain, double resultingLength);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

signals:
    void outcomeChanged();

private:
    double m_gain = 0;
    double m_resultingLength = 0;
    SharedList<EditSuggestion> m_suggestions;
};

} // namespace orvo
