#pragma once

#include "OrvoVideo/model/AppModel.h"

#include <QPointer>

namespace orvo {

/// What a person reads and marks in the transcript: the spoken word, the marked words, and the search.
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
    /// Whether every marked word is cut already.
    Q_PROPERTY(bool markedIsCut READ markedIsCut NOTIFY markedChanged)
    Q_PROPERTY(QString query READ query WRITE setQuery NOTIFY queryChanged)
    Q_PROPERTY(int matchCount READ matchCount NOTIFY matchChanged)
    /// The row of the match that is shown; -1 when there is none.
    Q_PROPERTY(int matchRow READ matchRow NOTIFY matchChanged)
public:
    explicit TranscriptCursor(QObject* parent = nullptr);

    AppModel* model() const { return m_model; }
    void setModel(AppModel* model);

    int spokenRow() const { return m_spokenRow; }
    int firstMarked() const;
    int lastMarked() const;
    int markedCount() const;
    bool markedIsCut() const;
    QString query() const { return m_query; }
    void setQuery(const QString& query);
    int matchCount() const { return m_matchCount; }
    int matchRow() const { return m_matchRow; }

    /// Marks a row alone, or every row from the one marked first to it.
    Q_INVOKABLE void mark(int row, bool extend);
    Q_INVOKABLE void unmark();
    /// Cuts the marked words, with the pauses between them, as one step.
    Q_INVOKABLE void cutMarked();
    /// Restores every cut that covers a marked word.
    Q_INVOKABLE void restoreMarked();
    /// Cuts the marked words, or restores them when they are all cut.
    Q_INVOKABLE void toggleMarked();
    /// Goes to the next (or previous) match; the playhead goes with it.
    Q_INVOKABLE void nextMatch(bool backwards);

signals:
    void modelChanged();
    void spokenRowChanged();
    void markedChanged();
    void queryChanged();
    void matchChanged();

private:
    void followPlayhead();
    void countMatches();
    void showTranscript();

    QPointer<AppModel> m_model;
    QString m_projectId;
    int m_spokenRow = -1;
    int m_anchor = -1;
    int m_extent = -1;
    QString m_query;
    int m_matchCount = 0;
    int m_matchRow = -1;
};

} // namespace orvo
