#pragma once

#include "OrvoVideo/model/AppModel.h"
#include "VideoCore/TextSearch.h"
#include "VideoCore/Transcript.h"

#include <QPointer>
#include <optional>
#include <vector>

namespace orvo {

/// What a person reads, marks and looks for in the transcript, and what is done with it: the spoken word, the caret and the
/// marked words, the search, and the edits of words and pauses. Each edit is one step to undo.
///
/// Rows are the indexes of words. A caret stands before the word of its number, or behind the last one.
class TranscriptCursor : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(orvo::AppModel* model READ model WRITE setModel NOTIFY modelChanged REQUIRED)
    /// The row of the word that is spoken or was last; -1 before the first.
    Q_PROPERTY(int spokenRow READ spokenRow NOTIFY spokenRowChanged)
    // The marked rows; -1 when none is.
    Q_PROPERTY(int firstMarked READ firstMarked NOTIFY markedChanged)
    Q_PROPERTY(int lastMarked READ lastMarked NOTIFY markedChanged)
    Q_PROPERTY(int markedCount READ markedCount NOTIFY markedChanged)
    /// -1 before a word was pointed at.
    Q_PROPERTY(int caret READ caret NOTIFY markedChanged)
    // What the edits are about: the marked words, or without any the one at the caret; -1 when there is none.
    Q_PROPERTY(int firstTarget READ firstTarget NOTIFY markedChanged)
    Q_PROPERTY(int lastTarget READ lastTarget NOTIFY markedChanged)
    /// When the first of them begins, in seconds.
    Q_PROPERTY(double targetStart READ targetStart NOTIFY markedChanged)
    /// Whether every one of them is cut already.
    Q_PROPERTY(bool targetIsCut READ targetIsCut NOTIFY markedChanged)
    Q_PROPERTY(QString query READ query WRITE setQuery NOTIFY queryChanged)
    Q_PROPERTY(int matchCount READ matchCount NOTIFY matchChanged)
    /// The number of the match that is shown, from 1 on; 0 when there is none.
    Q_PROPERTY(int matchNumber READ matchNumber NOTIFY matchChanged)
    /// The row where it begins; -1 when there is none.
    Q_PROPERTY(int matchRow READ matchRow NOTIFY matchChanged)
    /// How many filler words are not cut.
    Q_PROPERTY(int fillerCount READ fillerCount NOTIFY wordsChanged)
public:
    explicit TranscriptCursor(QObject* parent = nullptr);

    AppModel* model() const { return m_model; }
    void setModel(AppModel* model);

    const SharedList<TranscriptWord>& words() const { return m_words; }
    /// The cuts in order and disjoint.
    const std::vector<TimeSpan>& cuts() const { return m_merged; }
    double duration() const { return m_duration; }
    /// How sure the recogniser was of a word, 0..1.
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

    /// Marks a row alone, or every row from the one marked first to it.
    Q_INVOKABLE void mark(int row, bool extend);
    Q_INVOKABLE void unmark();
    /// Puts the caret before a row, with nothing marked. Numbers are limited to what there is.
    Q_INVOKABLE void place(int row);
    /// Selects everything from `anchor`, which stays while `head` moves, to `head`, and puts the caret at the end of `head`.
    /// An empty range clears the selection.
    void markBetween(Transcript::WordRange anchor, Transcript::WordRange head);
    /// As `markBetween` with the anchor that there is.
    void extendTo(Transcript::WordRange head);

    /// The marked words as text, with a line break between paragraphs.
    Q_INVOKABLE QString markedText() const;
    /// Puts the marked words, or the one at the caret, on the clipboard.
    Q_INVOKABLE void copy() const;

    /// Cuts what the edits are about, with the pauses between the words.
    Q_INVOKABLE void cutTarget();
    /// Restores it; what is cut around it stays cut.
    Q_INVOKABLE void restoreTarget();
    /// Cuts it, or restores it when it is all cut.
    Q_INVOKABLE void toggleTarget();
    /// Plays it, and stops at its end.
    Q_INVOKABLE void hear();
    Q_INVOKABLE void correct(int row, const QString& text);

    Q_INVOKABLE void cutFillers();
    Q_INVOKABLE void cutSpan(double start, double end);
    Q_INVOKABLE void restoreSpan(double start, double end);
    Q_INVOKABLE void shortenPause(double start, double end);
    /// What `shortenPauses` would do: the `count` of pauses and the `seconds` it gains.
    Q_INVOKABLE QVariantMap shortening(double longerThan) const;
    /// Shortens every pause of which more than this is left, in seconds.
    Q_INVOKABLE void shortenPauses(double longerThan);

    /// Goes to the next (or previous) match and marks it; the playhead goes with it.
    Q_INVOKABLE void nextMatch(bool backwards);
    /// Replaces the current match, then moves to the next one.
    Q_INVOKABLE void replaceMatch(const QString& text);
    /// Replaces every match. Returns how many there were.
    Q_INVOKABLE int replaceAll(const QString& text);

signals:
    void modelChanged();
    /// Other words or other cuts are there.
    void wordsChanged();
    /// Other words are unsure.
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
    SharedList<TimeSpan> m_cuts; ///< As stored.
    std::vector<TimeSpan> m_merged;
    double m_duration = 0;
    int m_spokenRow = -1;
    int m_caret = -1;
    Transcript::WordRange m_anchor;
    std::optional<Transcript::WordRange> m_marked;
    double m_hearUntil = 0; ///< Where what is heard ends; 0 when nothing is.
    QString m_query;
    std::optional<TextSearch> m_search; ///< Of these words; made when first searched.
    std::vector<TextSearch::Hit> m_hits;
    int m_match = -1; ///< The hit that is shown.
    mutable int m_fillers = -1; ///< Counted when first asked for.
};

} // namespace orvo
