#pragma once

#include "OrvoVideo/model/lists/RowModel.h"
#include "VideoCore/VideoProject.h"

namespace orvo {

/// The words of the open project, in stored order, which is time order.
class TranscriptModel : public RowModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Belongs to the model")
public:
    enum Role {
        WordIdRole = Qt::UserRole, ///< Text form of the identifier.
        TextRole,
        StartRole, ///< Seconds.
        EndRole, ///< Seconds.
        CutRole, ///< Whether the cuts remove the whole word.
        FillerRole, ///< Whether it is a filler word.
        GapRole, ///< Seconds of silence before this word; 0 without a gap.
    };
    Q_ENUM(Role)

    explicit TranscriptModel(QObject* parent = nullptr);

    /// Shows the words of a project; none for a null pointer. Returns early if neither words nor cuts have changed.
    void show(const VideoProject* project);

    const SharedList<TranscriptWord>& words() const noexcept { return m_words; }

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

private:
    void showCuts(const SharedList<TimeSpan>& cuts, double duration);

    SharedList<TranscriptWord> m_words;
    SharedList<TimeSpan> m_cuts; ///< As stored.
    std::vector<TimeSpan> m_merged; ///< The cuts, sorted and disjoint.
    double m_duration = 0;
};

} // namespace orvo
