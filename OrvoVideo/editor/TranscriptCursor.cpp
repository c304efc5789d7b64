#include "OrvoVideo/editor/TranscriptCursor.h"

#include "OrvoVideo/model/ModelText.h"
#include "VideoCore/Edits.h"
#include "VideoCore/Suggestions.h"
#include "VideoCore/Timeline.h"

#include <QClipboard>
#include <QGuiApplication>
#include <algorithm>

namespace orvo {

using Transcript::WordRange;

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
        m_model->transcription()->disconnect(this);
    }
    m_model = model;
    if (m_model) {
        connect(m_model, &AppModel::playheadChanged, this, &TranscriptCursor::followPlayhead);
        connect(m_model, &AppModel::projectChanged, this, &TranscriptCursor::showProject);
        connect(m_model->transcription(), &Transcription::confidenceChanged, this, &TranscriptCursor::confidenceChanged);
        connect(m_model, &AppModel::playingChanged, this, [this] {
            if (!m_model->playing())
                m_hearUntil = 0;
        });
    }
    showProject();
    emit modelChanged();
}

void TranscriptCursor::showProject()
{
    const VideoProject* project = m_model && m_model->project() ? &*m_model->project() : nullptr;
    const QString id = project ? m_model->projectFacts().projectId : QString();
    const EditState none;
    const EditState& edit = project ? project->edit : none;
    const double duration = project ? project->duration : 0;
    const bool isOther = id != m_projectId;
    const bool otherWords = !m_words.sharesStorageWith(edit.words);
    const bool otherCuts = !m_cuts.sharesStorageWith(edit.cuts) || duration != m_duration;
    if (!isOther && !otherWords && !otherCuts)
        return;
    m_projectId = id;
    m_words = edit.words;
    if (otherCuts)
        m_merged = Timeline::merged(edit.cuts, duration);
    m_cuts = edit.cuts;
    m_duration = duration;
    m_fillers = -1;
    if (isOther || std::max(m_caret, lastMarked()) > static_cast<int>(wordCount())
        || (m_marked && m_marked->end > wordCount())) {
        m_caret = -1;
        m_marked.reset();
        m_anchor = {};
    }
    if (isOther) {
        m_hearUntil = 0;
        if (!m_query.isEmpty()) {
            m_query.clear();
            emit queryChanged();
        }
    }
    if (otherWords) {
        m_search.reset();
        findMatches(m_match < 0 ? 0 : m_hits[static_cast<std::size_t>(m_match)].first);
    }
    emit wordsChanged();
    emit markedChanged(); // `targetIsCut` may have changed.
    followPlayhead();
}

double TranscriptCursor::confidence(const TranscriptWord& word) const
{
    return m_model ? m_model->transcription()->confidence().of(word) : 1;
}

void TranscriptCursor::followPlayhead()
{
    const double time = m_model ? m_model->playhead() : 0;
    if (m_hearUntil > 0 && m_model->playing() && time >= m_hearUntil) {
        m_hearUntil = 0;
        m_model->pause();
    }
    const auto after = std::ranges::upper_bound(m_words, time, {}, &TranscriptWord::start);
    const int row = m_model ? static_cast<int>(after - m_words.begin()) - 1 : -1;
    if (row == m_spokenRow)
        return;
    m_spokenRow = row;
    emit spokenRowChanged();
}

int TranscriptCursor::firstTarget() const
{
    if (m_marked)
        return firstMarked();
    return m_caret >= 0 && m_caret < static_cast<int>(wordCount()) ? m_caret : -1;
}

int TranscriptCursor::lastTarget() const
{
    return m_marked ? lastMarked() : firstTarget();
}

TimeSpan TranscriptCursor::targetSpan() const
{
    if (firstTarget() < 0)
        return {};
    return Edits::spanOf(
        m_words.items(), {static_cast<std::size_t>(firstTarget()), static_cast<std::size_t>(lastTarget()) + 1});
}

double TranscriptCursor::targetStart() const
{
    return targetSpan().start;
}

bool TranscriptCursor::targetIsCut() const
{
    for (int row = firstTarget(); row >= 0 && row <= lastTarget(); ++row) {
        if (!Transcript::isCut(m_words[static_cast<std::size_t>(row)], m_merged, m_duration))
            return false;
    }
    return firstTarget() >= 0;
}

void TranscriptCursor::mark(int row, bool extend)
{
    if (row < 0 || row >= static_cast<int>(wordCount()))
        return;
    const auto word = static_cast<std::size_t>(row);
    const WordRange range{word, word + 1};
    markBetween(extend && m_marked ? m_anchor : range, range);
}

void TranscriptCursor::markBetween(WordRange anchor, WordRange head)
{
    const auto limited = [&](WordRange range) {
        range.end = std::min(range.end, wordCount());
        range.first = std::min(range.first, range.end);
        return range;
    };
    m_anchor = limited(anchor);
    head = limited(head);
    const bool isBackwards = head.first < m_anchor.first;
    m_caret = static_cast<int>(isBackwards ? head.first : head.end);
    const WordRange marked{std::min(m_anchor.first, head.first), std::max(m_anchor.end, head.end)};
    m_marked = marked.size() > 0 ? std::optional(marked) : std::nullopt;
    showMarked();
}

void TranscriptCursor::extendTo(WordRange head)
{
    markBetween(m_anchor, head);
}

void TranscriptCursor::showMarked()
{
    emit markedChanged();
    if (m_marked && m_model) {
        const TimeSpan span = targetSpan();
        m_model->setSelectedSpan({span.start, span.end});
    }
}

void TranscriptCursor::unmark()
{
    m_marked.reset();
    if (m_caret >= 0)
        m_anchor = {static_cast<std::size_t>(m_caret), static_cast<std::size_t>(m_caret)};
    emit markedChanged();
}

void TranscriptCursor::place(int row)
{
    m_caret = std::clamp(row, 0, static_cast<int>(wordCount()));
    unmark();
}

QString TranscriptCursor::markedText() const
{
    QString text;
    if (firstTarget() < 0)
        return text;
    const auto first = static_cast<std::size_t>(firstTarget());
    const auto last = static_cast<std::size_t>(lastTarget());
    for (const auto& paragraph : Transcript::paragraphs(m_words.items())) {
        for (std::size_t i = std::max(paragraph.first, first); i < paragraph.end && i <= last; ++i) {
            if (!text.isEmpty())
                text += i == paragraph.first ? u'\n' : u' ';
            text += Text::from(m_words[i].text);
        }
    }
    return text;
}

void TranscriptCursor::copy() const
{
    if (firstTarget() >= 0)
        QGuiApplication::clipboard()->setText(markedText());
}

void TranscriptCursor::cutTarget()
{
    const TimeSpan span = targetSpan();
    if (firstTarget() >= 0)
        cutSpan(span.start, span.end);
}

void TranscriptCursor::restoreTarget()
{
    const TimeSpan span = targetSpan();
    if (firstTarget() >= 0)
        restoreSpan(span.start, span.end);
}

void TranscriptCursor::toggleTarget()
{
    if (targetIsCut())
        restoreTarget();
    else
        cutTarget();
}

void TranscriptCursor::hear()
{
    if (firstTarget() < 0 || !m_model)
        return;
    const TimeSpan span = targetSpan();
    m_model->seek(span.start);
    m_model->play();
    m_hearUntil = span.end;
}

void TranscriptCursor::correct(int row, const QString& text)
{
    if (m_model && row >= 0 && row < static_cast<int>(wordCount()))
        m_model->editing()->correctWord(Text::from(m_words[static_cast<std::size_t>(row)].id), text);
}

int TranscriptCursor::fillerCount() const
{
    if (m_fillers < 0) {
        m_fillers = static_cast<int>(std::ranges::count_if(m_words, [&](const TranscriptWord& word) {
            return Suggestions::isFiller(word.text) && !Transcript::isCut(word, m_merged, m_duration);
        }));
    }
    return m_fillers;
}

void TranscriptCursor::cutFillers()
{
    if (m_model && fillerCount() > 0)
        m_model->update([](VideoProject& project) { Edits::cutFillers(project); });
}

void TranscriptCursor::cutSpan(double start, double end)
{
    if (m_model)
        m_model->update([&](VideoProject& project) { Edits::cut(project, {start, end}); });
}

void TranscriptCursor::restoreSpan(double start, double end)
{
    if (m_model)
        m_model->update([&](VideoProject& project) { Edits::restorePart(project, {start, end}); });
}

void TranscriptCursor::shortenPause(double start, double end)
{
    if (m_model)
        m_model->update([&](VideoProject& project) { Edits::shortenPause(project, {start, end}); });
}

QVariantMap TranscriptCursor::shortening(double longerThan) const
{
    Edits::Shortening whole;
    if (m_model && m_model->project()) {
        VideoProject tried = *m_model->project();
        whole = Edits::shortenPauses(tried, longerThan);
    }
    return {{QStringLiteral("count"), static_cast<int>(whole.count)}, {QStringLiteral("seconds"), whole.seconds}};
}

void TranscriptCursor::shortenPauses(double longerThan)
{
    if (m_model && shortening(longerThan)[QStringLiteral("count")].toInt() > 0)
        m_model->update([&](VideoProject& project) { Edits::shortenPauses(project, longerThan); });
}

int TranscriptCursor::matchRow() const
{
    return m_match < 0 ? -1 : static_cast<int>(m_hits[static_cast<std::size_t>(m_match)].first);
}

void TranscriptCursor::setQuery(const QString& query)
{
    if (m_query == query)
        return;
    m_query = query;
    findMatches(static_cast<std::size_t>(std::max(m_spokenRow, 0)));
    emit queryChanged();
}

void TranscriptCursor::findMatches(std::size_t from)
{
    m_hits.clear();
    if (!m_query.trimmed().isEmpty()) {
        if (!m_search)
            m_search.emplace(m_words.items());
        m_hits = m_search->find(m_query.toStdString());
    }
    const auto next = std::ranges::lower_bound(m_hits, from, {}, &TextSearch::Hit::first);
    m_match = m_hits.empty() ? -1 : next == m_hits.end() ? 0 : static_cast<int>(next - m_hits.begin());
    emit matchChanged();
}

void TranscriptCursor::nextMatch(bool backwards)
{
    if (!m_model || m_hits.empty())
        return;
    const auto isMarked = [&] {
        const auto& hit = m_hits[static_cast<std::size_t>(m_match)];
        return m_marked == WordRange{hit.first, hit.last + 1};
    };
    // The first call goes to the match that typing found.
    if (isMarked()) {
        const auto count = static_cast<int>(m_hits.size());
        m_match = (m_match + (backwards ? count - 1 : 1)) % count;
    }
    const auto& hit = m_hits[static_cast<std::size_t>(m_match)];
    markBetween({hit.first, hit.last + 1}, {hit.first, hit.last + 1});
    emit matchChanged();
    m_model->seek(m_words[hit.first].start);
}

void TranscriptCursor::replaceMatch(const QString& text)
{
    if (!m_model || m_match < 0 || text.trimmed().isEmpty())
        return;
    const auto hit = m_hits[static_cast<std::size_t>(m_match)];
    const auto replacement = text.toStdString();
    m_model->update([&](VideoProject& project) { Edits::replaceText(project, std::span(&hit, 1), replacement); });
    // Continues after the replacement, which may match itself.
    findMatches(hit.first + 1);
    nextMatch(false);
}

int TranscriptCursor::replaceAll(const QString& text)
{
    if (!m_model || m_hits.empty() || text.trimmed().isEmpty())
        return 0;
    const auto hits = m_hits;
    const auto replacement = text.toStdString();
    m_model->update([&](VideoProject& project) { Edits::replaceText(project, hits, replacement); });
    return static_cast<int>(hits.size());
}

} // namespace orvo
