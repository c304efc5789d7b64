#include "EditorGeometry/ProseFlow.h"

#include <algorithm>

namespace orvo {

void ProseFlow::setBoxes(std::vector<Box> boxes, std::vector<std::size_t> paragraphs, std::size_t words)
{
    m_boxes = std::move(boxes);
    m_paragraphs = std::move(paragraphs);
    m_words = words;
    // Backwards: a hidden word starts where the next one does.
    m_first.assign(words + 1, static_cast<std::uint32_t>(m_boxes.size()));
    m_last.assign(words, 0);
    std::vector<char> shown(words);
    for (std::size_t i = m_boxes.size(); i-- > 0;) {
        const auto& box = m_boxes[i];
        if (box.kind != Box::Kind::word)
            continue;
        if (!shown[box.index])
            m_last[box.index] = static_cast<std::uint32_t>(i);
        shown[box.index] = true;
        m_first[box.index] = static_cast<std::uint32_t>(i);
    }
    for (std::size_t word = words; word-- > 0;) {
        if (!shown[word])
            m_first[word] = m_first[word + 1];
    }
    layOut();
}

void ProseFlow::setMetrics(const Metrics& metrics)
{
    if (m_metrics == metrics)
        return;
    m_metrics = metrics;
    layOut();
}

void ProseFlow::layOut()
{
    m_lines.clear();
    double top = 0;
    for (std::size_t paragraph = 0; paragraph < m_paragraphs.size(); ++paragraph) {
        const std::size_t end = paragraph + 1 < m_paragraphs.size() ? m_paragraphs[paragraph + 1] : m_boxes.size();
        if (m_paragraphs[paragraph] == end)
            continue;
        if (!m_lines.empty())
            top += m_metrics.paragraphGap;
        double x = 0;
        bool opens = true;
        for (std::size_t i = m_paragraphs[paragraph]; i < end; ++i) {
            auto& box = m_boxes[i];
            if (opens || x + m_metrics.blank + box.width > m_metrics.width) {
                m_lines.push_back({.top = top, .first = i, .end = i, .paragraph = paragraph, .opens = opens});
                top += m_metrics.lineHeight;
                opens = false;
                x = 0;
            } else {
                x += m_metrics.blank;
            }
            box.x = x;
            box.line = static_cast<std::uint32_t>(m_lines.size() - 1);
            x += box.width;
            m_lines.back().end = i + 1;
        }
    }
    m_height = top;
}

std::optional<std::size_t> ProseFlow::lineAt(double y) const
{
    if (m_lines.empty())
        return std::nullopt;
    const auto after = std::ranges::upper_bound(m_lines, y, {}, &Line::top);
    return after == m_lines.begin() ? 0 : static_cast<std::size_t>(after - m_lines.begin()) - 1;
}

const ProseFlow::Box* ProseFlow::boxAt(double x, double y) const
{
    const auto number = lineAt(y);
    if (!number)
        return nullptr;
    const auto& line = m_lines[*number];
    const auto first = m_boxes.begin() + static_cast<std::ptrdiff_t>(line.first);
    const auto end = m_boxes.begin() + static_cast<std::ptrdiff_t>(line.end);
    // Half of the blank before a box belongs to it.
    const auto after =
        std::upper_bound(first, end, x + m_metrics.blank / 2, [](double place, const Box& box) { return place < box.x; });
    return after == first ? &*first : &*(after - 1);
}

const ProseFlow::Box* ProseFlow::boxUnder(double x, double y) const
{
    const Box* box = boxAt(x, y);
    if (!box)
        return nullptr;
    const double top = m_lines[box->line].top;
    const bool covers = x >= box->x && x < box->x + box->width && y >= top && y < top + m_metrics.lineHeight;
    return covers ? box : nullptr;
}

std::optional<std::size_t> ProseFlow::wordAt(double x, double y) const
{
    const Box* box = boxAt(x, y);
    if (!box)
        return std::nullopt;
    const auto at = m_boxes.begin() + (box - m_boxes.data());
    const auto isWord = [](const Box& each) { return each.kind == Box::Kind::word; };
    // A pause selects the word before it.
    const auto before = std::find_if(std::make_reverse_iterator(at + 1), m_boxes.rend(), isWord);
    if (before != m_boxes.rend())
        return before->index;
    const auto behind = std::find_if(at, m_boxes.end(), isWord);
    return behind == m_boxes.end() ? std::nullopt : std::optional<std::size_t>(behind->index);
}

std::size_t ProseFlow::lineOf(std::size_t word) const
{
    if (m_lines.empty())
        return 0;
    const auto box = word < m_words ? m_first[word] : m_boxes.size();
    return box < m_boxes.size() ? m_boxes[box].line : m_lines.size() - 1;
}

std::optional<ProseFlow::Place> ProseFlow::placeOf(std::size_t word) const
{
    if (!isShown(word))
        return std::nullopt;
    const auto& box = m_boxes[m_first[word]];
    return Place{.x = box.x, .top = m_lines[box.line].top, .width = box.width};
}

ProseFlow::Place ProseFlow::caret(std::size_t word) const
{
    if (word < m_words && m_first[word] < m_boxes.size()) {
        const auto& box = m_boxes[m_first[word]];
        return {.x = box.x, .top = m_lines[box.line].top, .width = 0};
    }
    const auto last =
        std::find_if(m_boxes.rbegin(), m_boxes.rend(), [](const Box& each) { return each.kind == Box::Kind::word; });
    if (last == m_boxes.rend())
        return {};
    return {.x = last->x + last->width, .top = m_lines[last->line].top, .width = 0};
}

std::vector<ProseFlow::Place> ProseFlow::stretches(std::size_t first, std::size_t last) const
{
    std::vector<Place> result;
    while (first < last && !isShown(first))
        ++first;
    while (last > first && !isShown(last))
        --last;
    if (!isShown(first) || !isShown(last))
        return result;
    const std::size_t from = m_first[first];
    const std::size_t to = m_last[last];
    for (std::size_t number = m_boxes[from].line; number <= m_boxes[to].line; ++number) {
        const auto& line = m_lines[number];
        const auto& begin = m_boxes[std::max(from, line.first)];
        const auto& end = m_boxes[std::min(to, line.end - 1)];
        result.push_back({.x = begin.x, .top = line.top, .width = end.x + end.width - begin.x});
    }
    return result;
}

} // namespace orvo
