#include "OrvoVideo/editor/ProsePage.h"

#include "OrvoVideo/editor/ProseAccessible.h"
#include "OrvoVideo/model/ModelText.h"
#include "VideoCore/Suggestions.h"

#include <QFontMetricsF>
#include <algorithm>
#include <cmath>

namespace orvo {

namespace {

constexpr double lineSpacing = 1.45;
constexpr double below = 40; ///< Empty space below the text, in pixels.

QString pauseText(double seconds)
{
    return QStringLiteral("%1 s").arg(QString::number(seconds, 'f', 1).replace(u'.', u','));
}

/// Width of a word that is not measured yet.
constexpr double unknownWidth = -1;

} // namespace

ProseColors ProseColors::from(const QVariantMap& map)
{
    const auto color = [&](const char* name) { return map.value(QLatin1String(name)).value<QColor>(); };
    return {.text = color("text"),
        .secondaryText = color("secondaryText"),
        .raised = color("raised"),
        .line = color("line"),
        .accentInk = color("accentInk"),
        .selection = color("selection"),
        .selectionEdge = color("selectionEdge"),
        .cutEdge = color("cutEdge"),
        .spoken = color("spoken")};
}

ProsePage::ProsePage(QQuickItem* parent)
    : QQuickPaintedItem(parent)
{
    ProseAccessible::install();
    setAcceptedMouseButtons(Qt::LeftButton | Qt::RightButton);
    setAcceptHoverEvents(true);
    setActiveFocusOnTab(true);
    setFlag(ItemClipsChildrenToShape);
    m_scrolling.setInterval(30);
    connect(&m_scrolling, &QTimer::timeout, this, [this] {
        if (!m_press)
            return m_scrolling.stop();
        const double y = m_press->place.y();
        const double beyond = y < 0 ? y : std::max(y - height(), 0.0);
        emit offsetWanted(m_offset + beyond / 3);
        drag(m_press->place);
    });
}

void ProsePage::setReader(TranscriptCursor* reader)
{
    if (m_reader == reader)
        return;
    if (m_reader)
        m_reader->disconnect(this);
    m_reader = reader;
    if (m_reader) {
        connect(m_reader, &TranscriptCursor::wordsChanged, this, &ProsePage::showWords);
        connect(m_reader, &TranscriptCursor::confidenceChanged, this, &ProsePage::showConfidence);
        connect(m_reader, &TranscriptCursor::spokenRowChanged, this, [this] { update(); });
        connect(m_reader, &TranscriptCursor::matchChanged, this, [this] { update(); });
        connect(m_reader, &TranscriptCursor::markedChanged, this, [this] {
            ProseAccessible::tellCaret(*this);
            update();
        });
    }
    showWords();
    emit readerChanged();
}

void ProsePage::setColors(const QVariantMap& colors)
{
    m_colorMap = colors;
    m_colors = ProseColors::from(colors);
    emit colorsChanged();
    update();
}

void ProsePage::setFont(const QFont& font)
{
    m_font = font;
    m_widths.clear();
    std::ranges::fill(m_wordWidths, unknownWidth);
    m_glyphs.clear();
    emit fontsChanged();
    rebuild();
}

void ProsePage::setCaptionFont(const QFont& font)
{
    m_captionFont = font;
    m_captionWidths.clear();
    emit fontsChanged();
    rebuild();
}

void ProsePage::setOffset(double offset)
{
    if (m_offset == offset)
        return;
    m_offset = offset;
    emit offsetChanged();
    update();
}

double ProsePage::contentHeight() const
{
    return m_flow.lines().empty() ? 0 : m_flow.height() + below;
}

void ProsePage::setCutHidden(bool hidden)
{
    if (m_cutHidden == hidden)
        return;
    m_cutHidden = hidden;
    emit cutHiddenChanged();
    rebuild();
}

void ProsePage::showWords()
{
    const SharedList<TranscriptWord> words = m_reader ? m_reader->words() : SharedList<TranscriptWord>();
    // Updates the changed words only: an edit changes a few words of thousands.
    const auto& before = m_words.items();
    const auto& after = words.items();
    const auto isSame = [](const TranscriptWord& a, const TranscriptWord& b) { return a.text == b.text; };
    std::size_t head = 0;
    std::size_t tail = 0;
    if (!m_words.sharesStorageWith(words)) {
        const std::size_t both = std::min(before.size(), after.size());
        while (head < both && isSame(before[head], after[head]))
            ++head;
        while (tail < both - head && isSame(before[before.size() - 1 - tail], after[after.size() - 1 - tail]))
            ++tail;
        const auto place = [](auto& list, std::size_t index) { return list.begin() + static_cast<std::ptrdiff_t>(index); };
        m_texts.erase(place(m_texts, head), place(m_texts, before.size() - tail));
        m_texts.insert(place(m_texts, head), after.size() - tail - head, {});
        m_wordWidths.erase(place(m_wordWidths, head), place(m_wordWidths, before.size() - tail));
        m_wordWidths.insert(place(m_wordWidths, head), after.size() - tail - head, unknownWidth);
        m_fillers.erase(place(m_fillers, head), place(m_fillers, before.size() - tail));
        m_fillers.insert(place(m_fillers, head), after.size() - tail - head, {});
        for (std::size_t i = head; i < after.size() - tail; ++i) {
            m_texts[i] = Text::from(after[i].text);
            m_fillers[i] = Suggestions::isFiller(after[i].text);
        }
        m_words = words;
        showConfidence();
        m_press.reset();
        m_hoveredPause.reset();
        m_textPlaces.clear();
    }
    m_paragraphs = Transcript::paragraphs(m_words.items());
    m_pauses.clear();
    m_isCut.assign(m_words.size(), false);
    if (m_reader) {
        for (std::size_t i = 0; i < m_words.size(); ++i)
            m_isCut[i] = Transcript::isCut(m_words[i], m_reader->cuts(), m_reader->duration());
    }
    rebuild();
    ProseAccessible::tellText(*this);
}

void ProsePage::showConfidence()
{
    m_unsure.assign(m_words.size(), false);
    if (m_reader) {
        for (std::size_t i = 0; i < m_words.size(); ++i)
            m_unsure[i] = m_reader->isUnsure(m_words[i]);
    }
    setUnsureRow(-1);
    update();
}

void ProsePage::setUnsureRow(int row)
{
    if (m_unsureRow == row)
        return;
    m_unsureRow = row;
    emit unsureRowChanged();
}

double ProsePage::confidence(int row) const
{
    const auto word = static_cast<std::size_t>(row);
    return m_reader && row >= 0 && word < m_words.size() ? m_reader->confidence(m_words[word]) : 1;
}

double ProsePage::widthOf(const QString& text, QHash<QString, double>& known, const QFont& font)
{
    const auto found = known.constFind(text);
    if (found != known.constEnd())
        return *found;
    const double width = QFontMetricsF(font).horizontalAdvance(text);
    known.insert(text, width);
    return width;
}

void ProsePage::rebuild()
{
    std::vector<ProseFlow::Box> boxes;
    boxes.reserve(m_words.size() * 5 / 4);
    std::vector<std::size_t> paragraphs;
    m_pauses.clear();
    const auto silences = Transcript::pauses(m_words.items(), m_reader ? m_reader->duration() : 0);
    auto silence = silences.begin();
    const auto addPause = [&](std::size_t before) {
        for (; silence != silences.end() && silence->before <= before; ++silence) {
            Pause pause{.span = silence->span, .left = silence->span.duration(), .text = {}};
            if (m_reader)
                pause.left = Transcript::remaining(pause.span, m_reader->cuts());
            pause.text = pauseText(pause.isCut() ? pause.span.duration() : pause.left);
            m_pauses.push_back(pause);
            if (pause.isCut() && m_cutHidden)
                continue;
            boxes.push_back({.kind = ProseFlow::Box::Kind::pause,
                .index = static_cast<std::uint32_t>(m_pauses.size() - 1),
                .width = std::ceil(widthOf(pause.text, m_captionWidths, m_captionFont) + pauseSign + 2 * pillPadding)});
        }
    };
    for (const auto& paragraph : m_paragraphs) {
        paragraphs.push_back(boxes.size());
        for (std::size_t i = paragraph.first; i < paragraph.end; ++i) {
            addPause(i);
            // A pause between two paragraphs belongs to the first.
            if (i == paragraph.first && i > 0)
                paragraphs.back() = boxes.size();
            if (m_cutHidden && m_isCut[i])
                continue;
            const QString& text = m_texts[i];
            const auto index = static_cast<std::uint32_t>(i);
            if (!text.contains(u' ')) {
                double& width = m_wordWidths[i];
                if (width == unknownWidth)
                    width = widthOf(text, m_widths, m_font);
                boxes.push_back({.index = index, .length = static_cast<std::uint32_t>(text.size()), .width = width});
                continue;
            }
            qsizetype from = 0; // A correction may hold several words; lines break between them.
            for (const auto& part : QStringView(text).split(u' ')) {
                if (!part.isEmpty() || from + part.size() == text.size()) {
                    boxes.push_back({.index = index,
                        .from = static_cast<std::uint32_t>(from),
                        .length = static_cast<std::uint32_t>(part.size()),
                        .width = widthOf(part.toString(), m_widths, m_font)});
                }
                from += part.size() + 1;
            }
        }
    }
    addPause(m_words.size());
    m_textPlaces.clear();
    const auto words = m_words.size();

    // Keeps the text being read in place.
    const auto topLine = m_offset > 0 ? m_flow.lineAt(m_offset) : std::nullopt;
    std::size_t word = 0;
    double above = 0;
    if (topLine) {
        const auto& line = m_flow.lines()[*topLine];
        word = m_flow.wordAt(0, line.top + 1).value_or(0);
        above = m_flow.lines()[m_flow.lineOf(word)].top - m_offset;
    }
    m_flow.setMetrics(metrics());
    m_flow.setBoxes(std::move(boxes), std::move(paragraphs), words);
    ++m_layoutCount;
    emit laidOut();
    if (topLine && !m_flow.lines().empty()) {
        const double wanted = m_flow.lines()[m_flow.lineOf(word)].top - above;
        if (std::abs(wanted - m_offset) > 0.5)
            emit offsetWanted(wanted);
    }
    update();
}

ProseFlow::Metrics ProsePage::metrics() const
{
    const QFontMetricsF font(m_font);
    return {.width = std::max(width() - margin - 14, 40.0),
        .lineHeight = std::round(font.height() * lineSpacing),
        .blank = font.horizontalAdvance(u' '),
        .paragraphGap = std::round(font.height() * 0.7)};
}

void ProsePage::layOut()
{
    if (metrics() == m_flow.metrics())
        return;
    rebuild();
}

void ProsePage::geometryChange(const QRectF& now, const QRectF& before)
{
    QQuickPaintedItem::geometryChange(now, before);
    if (now.width() != before.width())
        layOut();
}

QRectF ProsePage::rectOf(int row) const
{
    const auto place = row < 0 ? std::nullopt : m_flow.placeOf(static_cast<std::size_t>(row));
    if (!place)
        return {};
    return {margin + place->x, place->top - m_offset, place->width, m_flow.metrics().lineHeight};
}

QRectF ProsePage::boundsOf(int first, int last) const
{
    QRectF bounds;
    if (first < 0 || last < first)
        return bounds;
    for (const auto& place : m_flow.stretches(static_cast<std::size_t>(first), static_cast<std::size_t>(last)))
        bounds |= QRectF(margin + place.x, place.top - m_offset, std::max(place.width, 1.0), m_flow.metrics().lineHeight);
    return bounds;
}

double ProsePage::topOf(int row) const
{
    if (row < 0 || m_flow.lines().empty())
        return 0;
    return m_flow.lines()[m_flow.lineOf(static_cast<std::size_t>(row))].top;
}

int ProsePage::nextShown(int row, bool forward) const
{
    const int count = static_cast<int>(m_words.size());
    for (int next = row + (forward ? 1 : -1); next >= 0 && next < count; next += forward ? 1 : -1) {
        if (m_flow.isShown(static_cast<std::size_t>(next)))
            return next;
    }
    return -1;
}

QString ProsePage::wordText(int row) const
{
    return row >= 0 && row < static_cast<int>(m_texts.size()) ? m_texts[static_cast<std::size_t>(row)] : QString();
}

const QString& ProsePage::wholeText() const
{
    if (m_textPlaces.empty()) {
        m_wholeText.clear();
        m_textPlaces.reserve(m_words.size() + 1);
        std::size_t next = 0;
        for (const auto& paragraph : m_paragraphs) {
            QChar separator = u'\n';
            for (; next < paragraph.end; ++next) {
                const bool isShown = m_flow.isShown(next);
                if (isShown && !m_wholeText.isEmpty())
                    m_wholeText += separator;
                m_textPlaces.push_back(static_cast<int>(m_wholeText.size()));
                if (isShown) {
                    m_wholeText += m_texts[next];
                    separator = u' ';
                }
            }
        }
        m_textPlaces.push_back(static_cast<int>(m_wholeText.size()));
    }
    return m_wholeText;
}

int ProsePage::textPlace(std::size_t word) const
{
    wholeText();
    return m_textPlaces[std::min(word, m_words.size())];
}

std::size_t ProsePage::wordOfPlace(int place) const
{
    wholeText();
    const auto after = std::upper_bound(m_textPlaces.begin(), m_textPlaces.end() - 1, place);
    return after == m_textPlaces.begin() ? 0 : static_cast<std::size_t>(after - m_textPlaces.begin()) - 1;
}

} // namespace orvo
