#include "OrvoVideo/editor/TranscriptCursor.h"

#include "VideoCore/Edits.h"

#include <algorithm>
#include <iterator>

namespace orvo {

TranscriptCursor::TranscriptCursor(QObject* parent)
    : QObject(parent)
{
}

void TranscriptCursor::setModel(AppModel* model)
{
    if (m_model == model)
        return;
    if (m_model) {
        m_model->disconnect(this);
        m_model->transcript()->disconnect(this);
    }
    m_model = model;
    if (m_model) {
        connect(m_model, &AppModel::playheadChanged, this, &TranscriptCursor::followPlayhead);
        connect(m_model, &AppModel::projectChanged, this, &TranscriptCursor::showTranscript);
        connect(m_model->transcript(), &RowModel::countChanged, this, &TranscriptCursor::countMatches);
    }
    showTranscript();
    emit modelChanged();
}

void TranscriptCursor::showTranscript()
{
    const QString id = m_model ? m_model->projectFacts().projectId : QString();
    if (id != m_projectId) {
        m_projectId = id;
        m_matchRow = -1;
        unmark();
        countMatches();
    }
    const int count = m_model ? m_model->transcript()->count() : 0;
    if (std::max(m_anchor, m_extent) >= count)
        unmark();
    else
        emit markedChanged(); // What is cut may have changed.
    followPlayhead();
}

void TranscriptCursor::followPlayhead()
{
    const int row = m_model ? m_model->transcript()->rowAt(m_model->playhead()) : -1;
    if (row == m_spokenRow)
        return;
    m_spokenRow = row;
    emit spokenRowChanged();
}

int TranscriptCursor::firstMarked() const
{
    return std::min(m_anchor, m_extent);
}

int TranscriptCursor::lastMarked() const
{
    return std::max(m_anchor, m_extent);
}

int TranscriptCursor::markedCount() const
{
    return m_anchor < 0 ? 0 : lastMarked() - firstMarked() + 1;
}

bool TranscriptCursor::markedIsCut() const
{
    if (m_anchor < 0 || !m_model)
        return false;
    const auto* words = m_model->transcript();
    for (int row = firstMarked(); row <= lastMarked(); ++row) {
        if (!words->data(words->index(row), TranscriptModel::CutRole).toBool())
            return false;
    }
    return true;
}

void TranscriptCursor::mark(int row, bool extend)
{
    if (!m_model || row < 0 || row >= m_model->transcript()->count())
        return;
    if (!extend || m_anchor < 0)
        m_anchor = row;
    m_extent = row;
    emit markedChanged();
    const auto& words = m_model->transcript()->words();
    m_model->setSelectedSpan(
        {words[static_cast<std::size_t>(firstMarked())].start, words[static_cast<std::size_t>(lastMarked())].end});
}

void TranscriptCursor::unmark()
{
    m_anchor = -1;
    m_extent = -1;
    emit markedChanged();
}

void TranscriptCursor::cutMarked()
{
    if (m_anchor < 0 || !m_model)
        return;
    const auto& words = m_model->transcript()->words();
    const TimeSpan span{
        words[static_cast<std::size_t>(firstMarked())].start, words[static_cast<std::size_t>(lastMarked())].end};
    m_model->update([&](VideoProject& project) { Edits::cut(project, span); });
}

void TranscriptCursor::restoreMarked()
{
    if (m_anchor < 0 || !m_model || !m_model->project())
        return;
    const auto& words = m_model->transcript()->words();
    const double start = words[static_cast<std::size_t>(firstMarked())].start;
    const double end = words[static_cast<std::size_t>(lastMarked())].end;
    std::vector<TimeSpan> covering;
    std::ranges::copy_if(m_model->project()->edit.cuts, std::back_inserter(covering),
        [&](const TimeSpan& cut) { return cut.start < end && cut.end > start; });
    if (covering.empty())
        return;
    m_model->update([&](VideoProject& project) {
        for (const auto& cut : covering)
            Edits::restore(project, cut);
    });
}

void TranscriptCursor::toggleMarked()
{
    if (markedIsCut())
        restoreMarked();
    else
        cutMarked();
}

void TranscriptCursor::setQuery(const QString& query)
{
    if (m_query == query)
        return;
    m_query = query;
    emit queryChanged();
    m_matchRow = -1;
    countMatches();
    if (m_matchCount > 0) {
        m_matchRow = m_model->transcript()->find(m_query, std::max(m_spokenRow, 0));
        emit matchChanged();
    }
}

void TranscriptCursor::countMatches()
{
    m_matchCount = m_model && !m_query.trimmed().isEmpty() ? m_model->transcript()->matchCount(m_query) : 0;
    if (m_matchCount == 0)
        m_matchRow = -1;
    emit matchChanged();
}

void TranscriptCursor::nextMatch(bool backwards)
{
    if (!m_model || m_matchCount == 0)
        return;
    const int count = m_model->transcript()->count();
    const int from = m_matchRow < 0 ? std::max(m_spokenRow, 0) : (m_matchRow + (backwards ? count - 1 : 1)) % count;
    m_matchRow = m_model->transcript()->find(m_query, from, backwards);
    emit matchChanged();
    if (m_matchRow >= 0)
        m_model->seek(m_model->transcript()->words()[static_cast<std::size_t>(m_matchRow)].start);
}

} // namespace orvo
