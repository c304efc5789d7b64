#include "OrvoVideo/editor/ProsePage.h"
#include "OrvoVideo/ui/Wording.h"

#include <QFontMetricsF>
#include <QPainter>
#include <algorithm>
#include <cmath>

namespace orvo {

namespace {

constexpr double radius = 4;
/// Maximum number of cached texts; a fuller cache is cleared.
constexpr qsizetype maxGlyphs = 6000;

} // namespace

void ProsePage::paint(QPainter* painter)
{
    const auto first = m_flow.lineAt(m_offset);
    if (!first || !m_reader)
        return;
    const std::size_t last = m_flow.lineAt(m_offset + height()).value_or(*first);
    const auto& lines = m_flow.lines();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->translate(margin, -std::round(m_offset));
    paintBehind(*painter, *first, last);
    const double lineHeight = m_flow.metrics().lineHeight;
    for (std::size_t number = *first; number <= last; ++number) {
        const auto& line = lines[number];
        if (line.opens) {
            const auto word = std::find_if(m_flow.boxes().begin() + static_cast<std::ptrdiff_t>(line.first),
                m_flow.boxes().end(), [](const auto& box) { return box.kind == ProseFlow::Box::Kind::word; });
            if (word != m_flow.boxes().end()) {
                painter->setFont(m_captionFont);
                painter->setPen(m_colors.secondaryText);
                painter->drawText(QRectF(-margin, line.top, margin - 10, lineHeight), Qt::AlignRight | Qt::AlignVCenter,
                    Wording::time(m_words[word->index].start));
            }
        }
        for (std::size_t i = line.first; i < line.end; ++i) {
            const auto& box = m_flow.boxes()[i];
            if (box.kind == ProseFlow::Box::Kind::pause)
                paintPause(*painter, box, line.top);
            else
                paintBox(*painter, box, line.top);
        }
    }
    paintCaret(*painter);
}

void ProsePage::paintStretch(QPainter& painter, std::size_t first, std::size_t last, const QColor& color) const
{
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    for (const auto& place : m_flow.stretches(first, last))
        painter.drawRoundedRect(
            QRectF(place.x - 2, place.top + 1, place.width + 4, m_flow.metrics().lineHeight - 2), radius, radius);
}

void ProsePage::paintBehind(QPainter& painter, std::size_t firstLine, std::size_t lastLine) const
{
    const auto& lines = m_flow.lines();
    const std::size_t from = m_flow.wordAt(0, lines[firstLine].top + 1).value_or(0);
    const std::size_t to = m_flow.wordAt(1e9, lines[lastLine].top + 1).value_or(0);
    if (const int spoken = m_reader->spokenRow();
        spoken >= 0 && m_reader->model() && m_reader->model()->playhead() < m_words[static_cast<std::size_t>(spoken)].end)
        paintStretch(painter, static_cast<std::size_t>(spoken), static_cast<std::size_t>(spoken), m_colors.spoken);
    if (m_reader->firstMarked() >= 0) {
        const auto first = std::max(static_cast<std::size_t>(m_reader->firstMarked()), from);
        const auto last = std::min(static_cast<std::size_t>(m_reader->lastMarked()), to);
        if (first <= last)
            paintStretch(painter, first, last, m_colors.selection);
    }
    const auto& hits = m_reader->hits();
    auto hit = std::ranges::lower_bound(hits, from, {}, &TextSearch::Hit::last);
    for (; hit != hits.end() && hit->first <= to; ++hit) {
        const bool isShown = hit - hits.begin() == m_reader->matchNumber() - 1;
        QColor fill = m_colors.accentInk;
        fill.setAlphaF(isShown ? 0.38F : 0.16F);
        paintStretch(painter, hit->first, hit->last, fill);
    }
}

void ProsePage::paintBox(QPainter& painter, const ProseFlow::Box& box, double top)
{
    const double column = m_flow.metrics().width;
    QString text = m_texts[box.index].mid(box.from, box.length);
    if (box.width > column)
        text = QFontMetricsF(m_font).elidedText(text, Qt::ElideMiddle, column);
    auto glyphs = m_glyphs.find(text);
    if (glyphs == m_glyphs.end()) {
        if (m_glyphs.size() > maxGlyphs)
            m_glyphs.clear();
        QStaticText made(text);
        made.setTextFormat(Qt::PlainText);
        made.setPerformanceHint(QStaticText::AggressiveCaching);
        made.prepare({}, m_font);
        glyphs = m_glyphs.insert(text, made);
    }
    const bool isCut = m_isCut[box.index];
    const double lineHeight = m_flow.metrics().lineHeight;
    const double width = std::min(box.width, column);
    const QFontMetricsF metrics(m_font);
    const double textTop = std::round(top + (lineHeight - metrics.height()) / 2);
    painter.setFont(m_font);
    painter.setPen(isCut ? m_colors.secondaryText : m_colors.text);
    painter.drawStaticText(QPointF(std::round(box.x), textTop), *glyphs);
    painter.setPen(Qt::NoPen);
    if (m_fillers[box.index] && !isCut) {
        painter.setBrush(m_colors.cutEdge);
        painter.drawRect(QRectF(box.x, textTop + metrics.height() - 1, width, 2));
    }
    if (m_unsure[box.index] && !isCut && !m_fillers[box.index]) {
        // A dotted line, lighter than the line under a filler.
        painter.setBrush(m_colors.accentInk);
        for (double x = std::round(box.x); x + 1.5 <= box.x + width; x += 4)
            painter.drawEllipse(QRectF(x, textTop + metrics.height() - 1, 1.8, 1.8));
    }
    if (isCut) {
        painter.setBrush(m_colors.secondaryText);
        painter.drawRect(QRectF(box.x - 1, std::round(textTop + metrics.ascent() * 0.68), width + 2, 1));
    }
}

void ProsePage::paintPause(QPainter& painter, const ProseFlow::Box& box, double top) const
{
    const auto& pause = m_pauses[box.index];
    const double lineHeight = m_flow.metrics().lineHeight;
    const double high = std::min(lineHeight - 3, 18.0);
    const QRectF pill(box.x + 0.5, top + (lineHeight - high) / 2, box.width - 1, high);
    const bool isHovered = m_hoveredPause == box.index;
    painter.setPen(QPen(isHovered ? m_colors.accentInk : m_colors.line, 1));
    painter.setBrush(m_colors.raised);
    painter.drawRoundedRect(pill, high / 2, high / 2);
    painter.setFont(m_captionFont);
    painter.setPen(m_colors.secondaryText);
    painter.drawText(pill.adjusted(pillPadding + pauseSign, 0, 0, 0), Qt::AlignLeft | Qt::AlignVCenter, pause.text);
    // Draws the pause sign: text fonts lack it.
    const double barTop = std::round(pill.center().y() - 3.5);
    for (const double x : {pill.x() + pillPadding, pill.x() + pillPadding + 4})
        painter.fillRect(QRectF(std::round(x), barTop, 2, 7), m_colors.secondaryText);
    if (pause.isCut()) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(m_colors.secondaryText);
        painter.drawRect(QRectF(pill.x() + 4, std::round(pill.center().y()), pill.width() - 8, 1));
    }
}

void ProsePage::paintCaret(QPainter& painter) const
{
    const int caret = m_reader->caret();
    if (caret < 0)
        return;
    const double lineHeight = m_flow.metrics().lineHeight;
    // Outlines the word that the keys act on.
    if (const int row = m_reader->firstTarget(); row >= 0 && m_reader->markedCount() == 0) {
        QColor edge = m_colors.accentInk;
        edge.setAlphaF(0.55F);
        painter.setPen(QPen(edge, 1));
        painter.setBrush(Qt::NoBrush);
        const auto word = static_cast<std::size_t>(row);
        for (const auto& place : m_flow.stretches(word, word))
            painter.drawRoundedRect(QRectF(place.x - 2.5, place.top + 1.5, place.width + 5, lineHeight - 3), radius, radius);
    }
    if (!hasActiveFocus())
        return;
    const auto place = m_flow.caret(static_cast<std::size_t>(caret));
    painter.setPen(Qt::NoPen);
    painter.setBrush(m_colors.accentInk);
    painter.drawRect(QRectF(std::round(place.x) - 3, place.top + 1, 2, lineHeight - 2));
}

} // namespace orvo
