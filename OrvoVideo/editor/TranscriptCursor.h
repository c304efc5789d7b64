#pragma once

#include "OrvoVideo/model/AppModel.h"
#include "VideoCore/TextSearch.h"
#include "VideoCore/Transcript.h"

#include <QPointer>
#include <optional>
#include <vector>

namespace orvo {

/// The interaction state of the transcript (the spoken word, the caret, the marked words, the search) and the edits of words
/// and pauses. Each edit is one undo step.
///
/// A row is the index of a word. A caret index n stands before word n; the word count stands after the last word.
class TranscriptCursor : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(orvo::AppModel* model READ model WRITE setModel NOTIFY modelChanged REQUIRED)
    /// The row of the last word that starts at or before the playhead; -1 before the first.
    Q_PROPERTY(int spokenRow READ spokenRow NOTIFY spokenRowChanged)
    // The marked rows; -1 if none is marked.
    Q_PROPERTY(int firstMarked READ firstMarked NOTIFY markedChanged)
    Q_PROPERTY(int lastMarked READ lastMarked NOTIFY markedChanged)
    Q_PROPERTY(int markedCount READ markedCount NOTIFY markedChanged)
    /// The caret; -1 until it is placed.
    Q_PROPERTY(int caret READ caret NOTIFY markedChanged)
    // The target of edits: the marked words, or else the word at the caret; -1 if there is none.
    Q_PROPERTY(int firstTarget READ firstTarget NOTIFY markedChanged)
    Q_PROPERTY(int lastTarget READ lastTarget NOTIFY markedChanged)
    /// The start of the target, in seconds.
    Q_PROPERTY(double targetStart READ targetStart NOTIFY markedChanged)
    /// Whether the whole target is cut.
    Q_PROPERTY(bool targetIsCut READ targetIsCut NOTIFY markedChanged)
    Q_PROPERTY(QString query READ query WRITE setQuery NOTIFY queryChanged)
    Q_PROPERTY(int matchCount READ matchCount NOTIFY matchChanged)
    /// The number of the current match, from 1; 0 if there is none.
    Q_PROPERTY(int matchNumber READ matchNumber NOTIFY matchChanged)
    /// The first row of the current match; -1 if there is none.
    Q_PROPERTY(int matchRow READ matchRow NOTIFY matchChanged)
    /// The number of filler words that are not cut.
    Q_PROPERTY(int fillerCount READ fillerCount NOTIFY wordsChanged)
public:
    explicit TranscriptCursor(QObject* parent = nullptr);

    AppModel* model() const { return m_model; }
    void setModel(AppModel* model);

    const SharedList<TranscriptWord>& words() const { return m_words; }
    /// The cuts, sorted and disjoint.
    const std::vector<TimeSpan>& cuts() const { return m_merged; }
    double duration() const { return m_duration; }
    /// The recogniser's confidence in a word, 0..1.
    double confidence(const TranscriptWord& word) const;
    bool isUnsure(const TranscriptWord& word) const { return confidence(word) < WordConfidence::sure; }
    const std::vector<TextSearch::Hit>& hits() const { return m_hits; }

    int spokenRow() const { return m_spokenRow; }
    int firstMarked() const { return m_marked ? static_cast<int>(m_marked->first) : -1; }
    int lastMarked() const { return m_marked ? static_cast<int>(m_marked->end) - 1 : -1; }
    int markedCount() const { return m_marked ? static_cast<int>(m_marked->size()) : 0; }
    int caret() const { return m_caret; }
    int firstTarget() const;
    int lastTarget() const;
    double targetStart() const;
    bool targetIsCut() const;
    QString query() const { return m_query; }
    void setQuery(const QString& query);
    int matchCount() const { return static_cast<int>(m_hits.size()); }
    int matchNumber() const { return m_match + 1; }
    int matchRow() const;
    int fillerCount() const;

    /// Marks a row alone, or extends the mark to it from its anchor.
    Q_INVOKABLE void mark(int row, bool extend);
    Q_INVOKABLE void unmark();
    /// Places the caret before a row and clears the mark. Clamps the row to 0..word count.
    Q_INVOKABLE void place(int row);
    /// Marks the words from `anchor` to `head` and puts the caret at the outer end of `head`. Keeps `anchor` for `extendTo`.
    /// An empty range clears the mark.
    void markBetween(Transcript::WordRange anchor, Transcript::WordRange head);
    /// Like `markBetween`, with the current anchor.
    void extendTo(Transcript::WordRange head);

    /// The text of the target, with line breaks between paragraphs.
    Q_INVOKABLE QString markedText() const;
    /// Copies the text of the target to the clipboard.
    Q_INVOKABLE void copy() const;

    /// Cuts the target, including the pauses between its words.
    Q_INVOKABLE void cutTarget();
    /// Restores the target; cuts around it stay.
    Q_INVOKABLE void restoreTarget();
    /// Cuts the target, or restores it if it is cut as a whole.
    Q_INVOKABLE void toggleTarget();
    /// Plays the target and pauses at its end.
    Q_INVOKABLE void hear();
    Q_INVOKABLE void correct(int row, const QString& text);

    Q_INVOKABLE void cutFillers();
    // Spans and pauses in seconds.
    Q_INVOKABLE void cutSpan(double start, double end);
    Q_INVOKABLE void restoreSpan(double start, double end);
    Q_INVOKABLE void shortenPause(double start, double end);
    /// The effect that `shortenPauses` would have: the `count` of pauses and the `seconds` it saves.
    Q_INVOKABLE QVariantMap shortening(double longerThan) const;
    /// Shortens every pause of which more than this remains, in seconds.
    Q_INVOKABLE void shortenPauses(double longerThan);

    /// Marks the next (or previous) match and moves the playhead to it.
    Q_INVOKABLE void nextMatch(bool backwards);
    /// Replaces the current match, then moves to the next one.
    Q_INVOKABLE void replaceMatch(const QString& text);
    /// Replaces every match and returns their number.
    Q_INVOKABLE int replaceAll(const QString& text);

signals:
    void modelChanged();
    /// The words, the cuts or the duration changed.
    void wordsChanged();
    /// The confidence of words changed.
    void confidenceChanged();
    void spokenRowChanged();
    void markedChanged();
    void queryChanged();
    void matchChanged();

private:
    void followPlayhead();
    void showProject();
    void showMarked();
    void findMatches(std::size_t from);
    TimeSpan targetSpan() const;
    std::size_t wordCount() const { return m_words.size(); }

    QPointer<AppModel> m_model;
    QString m_projectId;
    SharedList<TranscriptWord> m_words;
    SharedList<TimeSpan> m_cuts; ///< As stored in the document.
    std::vector<TimeSpan> m_merged;
    double m_duration = 0;
    int m_spokenRow = -1;
    int m_caret = -1;
    Transcript::WordRange m_anchor;
    std::optional<Transcript::WordRange> m_marked;
    double m_hearUntil = 0; ///< Where `hear` pauses, in seconds; 0 if it is not playing.
    QString m_query;
    std::optional<TextSearch> m_search; ///< Index of `m_words`; created by the first search.
    std::vector<TextSearch::Hit> m_hits;
    int m_match = -1; ///< Index of the current match in `m_hits`; -1 if there is none.
    mutable int m_fillers = -1; ///< Counted on demand; below 0 until then.
};

} // namespace orvo
