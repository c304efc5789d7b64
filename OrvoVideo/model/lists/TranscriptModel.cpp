#include "OrvoVideo/model/lists/TranscriptModel.h"

#include "OrvoVideo/model/ModelText.h"
#include "VideoCore/ProjectChange.h"
#include "VideoCore/Suggestions.h"
#include "VideoCore/Timeline.h"
#include "VideoCore/Transcript.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace orvo {

namespace {

double gapBefore(const SharedList<TranscriptWord>& words, std::size_t row)
{
    const double end = row == 0 ? 0 : words[row - 1].end;
    return std::max(words[row].start - end, 0.0);
}

constexpr TimeSpan everything{-std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity()};

/// The span outside which two lists of disjoint sorted spans are equal.
TimeSpan differing(const std::vector<TimeSpan>& before, const std::vector<TimeSpan>& after)
{
    const auto common = CommonEnds::of(before, after);
    TimeSpan stretch{.start = everything.end, .end = everything.start};
    for (const auto* spans : {&before, &after}) {
        if (spans->size() == common.head + common.tail)
            continue;
        stretch.start = std::min(stretch.start, (*spans)[common.head].start);
        stretch.end = std::max(stretch.end, (*spans)[spans->size() - common.tail - 1].end);
    }
    return stretch;
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
        // A change of a word also changes the gap of the next word.
        const auto common = CommonEnds::of(m_words, words);
        const auto differs = [before = m_words, after = words, common](std::size_t i, std::size_t j) {
            if (j < common.head || j > after.size() - common.tail)
                return false;
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
    const auto touched = durationBefore == duration ? differing(mergedBefore, m_merged) : everything;

    const auto hasChanged = [&](const TranscriptWord& word) {
        return word.start >= touched.start && word.start < touched.end
            && Transcript::isCut(word, mergedBefore, durationBefore) != Transcript::isCut(word, m_merged, m_duration);
    };

    int first = -1;
    const int rows = rowCount();
    for (int row = 0; row <= rows; ++row) {
        const bool changed = row < rows && hasChanged(m_words[static_cast<std::size_t>(row)]);
        if (changed && first < 0) {
            first = row;
        } else if (!changed && first >= 0) {
            emit dataChanged(index(first), index(row - 1), {CutRole});
            first = -1;
        }
    }
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
        return Transcript::isCut(word, m_merged, m_duration);
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
