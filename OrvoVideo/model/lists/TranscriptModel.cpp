#include "OrvoVideo/model/lists/TranscriptModel.h"

#include "OrvoVideo/model/ModelText.h"
#include "VideoCore/Suggestions.h"
#include "VideoCore/Timeline.h"

#include <utility>

namespace orvo {

namespace {

double gapBefore(const SharedList<TranscriptWord>& words, std::size_t row)
{
    const double end = row == 0 ? 0 : words[row - 1].end;
    return std::max(words[row].start - end, 0.0);
}

/// A text as it is compared in a search: without case and accents.
QString searchForm(const QString& text)
{
    const QString apart = text.normalized(QString::NormalizationForm_KD);
    QString form;
    form.reserve(apart.size());
    for (const QChar c : apart) {
        if (c.category() != QChar::Mark_NonSpacing)
            form += c;
    }
    return form.toCaseFolded();
}

/// Whether nothing of a word remains after these merged cuts. A word may reach a little past the recording's end.
bool isCut(const TranscriptWord& word, const std::vector<TimeSpan>& cuts, double duration)
{
    const auto after = std::ranges::upper_bound(cuts, word.start, {}, &TimeSpan::start);
    if (after == cuts.begin())
        return false;
    const auto& cut = *(after - 1);
    return word.start < cut.end && std::min(word.end, duration) <= cut.end;
}

} // namespace

TranscriptModel::TranscriptModel(QObject* parent)
    : RowModel(parent)
{
}

void TranscriptModel::show(const VideoProject* project)
{
    const SharedList<TranscriptWord> words = project ? project->edit.words : SharedList<TranscriptWord>();
    if (!m_words.sharesStorageWith(words)) {
        m_searchTexts.clear();
        // A word's gap changes with its neighbour, too.
        const auto differs = [before = m_words, after = words](std::size_t i, std::size_t j) {
            return !(before[i] == after[j]) || gapBefore(before, i) != gapBefore(after, j);
        };
        replaceRows(m_words, words, byId<TranscriptWord>(), differs);
    }
    showCuts(project ? project->edit.cuts : SharedList<TimeSpan>(), project ? project->duration : 0);
}

void TranscriptModel::showCuts(const SharedList<TimeSpan>& cuts, double duration)
{
    if (m_cuts.sharesStorageWith(cuts) && m_duration == duration)
        return;
    const auto mergedBefore = std::exchange(m_merged, Timeline::merged(cuts, duration));
    const double durationBefore = std::exchange(m_duration, duration);
    m_cuts = cuts;

    int first = -1;
    const int rows = rowCount();
    for (int row = 0; row <= rows; ++row) {
        bool changed = false;
        if (row < rows) {
            const auto& word = m_words[static_cast<std::size_t>(row)];
            changed = isCut(word, mergedBefore, durationBefore) != isCut(word, m_merged, m_duration);
        }
        if (changed && first < 0) {
            first = row;
        } else if (!changed && first >= 0) {
            emit dataChanged(index(first), index(row - 1), {CutRole});
            first = -1;
        }
    }
}

int TranscriptModel::rowAt(double seconds) const
{
    const auto after = std::ranges::upper_bound(m_words, seconds, {}, &TranscriptWord::start);
    return static_cast<int>(after - m_words.begin()) - 1;
}

const QStringList& TranscriptModel::searchTexts() const
{
    if (m_searchTexts.isEmpty()) {
        m_searchTexts.reserve(static_cast<qsizetype>(m_words.size()));
        for (const auto& word : m_words)
            m_searchTexts += searchForm(Text::from(word.text));
    }
    return m_searchTexts;
}

bool TranscriptModel::matches(const QStringList& wanted, std::size_t row) const
{
    const auto& texts = searchTexts();
    const auto first = static_cast<qsizetype>(row);
    if (first + wanted.size() > texts.size())
        return false;
    if (wanted.size() == 1)
        return texts[first].contains(wanted[0]);
    for (qsizetype i = 0; i < wanted.size(); ++i) {
        const auto& text = texts[first + i];
        const auto& part = wanted[i];
        // Inside a phrase the punctuation around the recognised words does not count.
        const qsizetype at = text.indexOf(part);
        if (at < 0)
            return false;
        const bool startsWord = i == 0 || at == 0 || !text[at - 1].isLetterOrNumber();
        const qsizetype end = at + part.size();
        const bool endsWord = i == wanted.size() - 1 || end == text.size() || !text[end].isLetterOrNumber();
        if (!startsWord || !endsWord)
            return false;
    }
    return true;
}

int TranscriptModel::find(const QString& text, int from, bool backwards) const
{
    const auto wanted = searchForm(text).split(QChar::Space, Qt::SkipEmptyParts);
    const auto rows = static_cast<int>(m_words.size());
    if (wanted.isEmpty() || rows == 0)
        return -1;
    for (int step = 0; step < rows; ++step) {
        const int row = (((backwards ? from - step : from + step) % rows) + rows) % rows;
        if (matches(wanted, static_cast<std::size_t>(row)))
            return row;
    }
    return -1;
}

int TranscriptModel::matchCount(const QString& text) const
{
    const auto wanted = searchForm(text).split(QChar::Space, Qt::SkipEmptyParts);
    int found = 0;
    for (std::size_t row = 0; !wanted.isEmpty() && row < m_words.size(); ++row)
        found += matches(wanted, row);
    return found;
}

int TranscriptModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_words.size());
}

QVariant TranscriptModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const auto row = static_cast<std::size_t>(index.row());
    const auto& word = m_words[row];
    switch (role) {
    case WordIdRole:
        return Text::from(word.id);
    case Qt::DisplayRole:
    case TextRole:
        return Text::from(word.text);
    case StartRole:
        return word.start;
    case EndRole:
        return word.end;
    case CutRole:
        return isCut(word, m_merged, m_duration);
    case FillerRole:
        return Suggestions::isFiller(word.text);
    case GapRole:
        return gapBefore(m_words, row);
    default:
        return {};
    }
}

QHash<int, QByteArray> TranscriptModel::roleNames() const
{
    return {{WordIdRole, "wordId"}, {TextRole, "text"}, {StartRole, "start"}, {EndRole, "end"}, {CutRole, "cut"},
        {FillerRole, "filler"}, {GapRole, "gap"}};
}

} // namespace orvo
