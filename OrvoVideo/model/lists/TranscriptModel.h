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
        CutRole, ///< Whether nothing of the word remains after the cuts.
        FillerRole, ///< Whether it is a filler word.
        GapRole, ///< Seconds of silence between the word before (or the beginning) and this one; 0 when there is none.
    };
    Q_ENUM(Role)

    explicit TranscriptModel(QObject* parent = nullptr);

    /// Shows the words of a project; none for a null pointer. Costs nothing when neither words nor cuts are other lists.
    void show(const VideoProject* project);

    const SharedList<TranscriptWord>& words() const noexcept { return m_words; }

    /// The row of the word spoken at this time or last spoken before it; -1 before the first.
    Q_INVOKABLE int rowAt(double seconds) const;

    /// The next row (from `from` on, or backwards from it; round the ends) where the words of `text` are found one after the
    /// other, whatever their case and accents; -1 when they are nowhere. The last one may be the beginning of a word.
    Q_INVOKABLE int find(const QString& text, int from, bool backwards = false) const;

    /// How many rows `find` can find.
    Q_INVOKABLE int matchCount(const QString& text) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

private:
    void showCuts(const SharedList<TimeSpan>& cuts, double duration);
    const QStringList& searchTexts() const;
    bool matches(const QStringList& wanted, std::size_t row) const;

    SharedList<TranscriptWord> m_words;
    SharedList<TimeSpan> m_cuts; ///< As stored.
    std::vector<TimeSpan> m_merged; ///< The cuts in order and disjoint.
    double m_duration = 0;
    mutable QStringList m_searchTexts; ///< Of every word, without case and accents; made when first searched.
};

} // namespace orvo
