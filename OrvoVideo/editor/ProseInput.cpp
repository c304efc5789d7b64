#include "OrvoVideo/editor/ProsePage.h"

#include "OrvoVideo/ui/Commands.h"

#include <QCursor>
#include <QGuiApplication>
#include <QHoverEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QStyleHints>
#include <algorithm>
#include <cmath>

namespace orvo {

using Transcript::WordRange;

const WordRange& ProsePage::paragraphOf(std::size_t word) const
{
    const auto after = std::ranges::upper_bound(m_paragraphs, word, {}, &WordRange::first);
    return *(after - 1);
}

WordRange ProsePage::unitAt(std::size_t word, Unit unit) const
{
    switch (unit) {
    case Unit::sentence:
        return Transcript::sentenceAt(m_words.items(), paragraphOf(word), word);
    case Unit::paragraph:
        return paragraphOf(word);
    default:
        return {word, word + 1};
    }
}

std::optional<std::size_t> ProsePage::pauseUnder(QPointF place) const
{
    const auto at = inText(place);
    const auto* box = m_flow.boxUnder(at.x(), at.y());
    return box && box->kind == ProseFlow::Box::Kind::pause ? std::optional<std::size_t>(box->index) : std::nullopt;
}

std::optional<std::size_t> ProsePage::timeUnder(QPointF place) const
{
    const auto at = inText(place);
    const auto line = at.x() < -4 && at.y() < m_flow.height() ? m_flow.lineAt(at.y()) : std::nullopt;
    if (!line || !m_flow.lines()[*line].opens)
        return std::nullopt;
    const auto& paragraph = m_paragraphs[m_flow.lines()[*line].paragraph];
    for (std::size_t word = paragraph.first; word < paragraph.end; ++word) {
        if (m_flow.isShown(word))
            return word;
    }
    return std::nullopt;
}

void ProsePage::seekTo(std::size_t word)
{
    if (word < m_words.size() && m_reader->model())
        m_reader->model()->seek(m_words[word].start);
}

void ProsePage::togglePause(std::size_t index)
{
    const Pause pause = m_pauses[index];
    if (pause.isCut())
        m_reader->restoreSpan(pause.span.start, pause.span.end);
    else
        m_reader->cutSpan(pause.span.start, pause.span.end);
}

void ProsePage::mousePressEvent(QMouseEvent* event)
{
    press(event);
}

void ProsePage::mouseDoubleClickEvent(QMouseEvent*)
{
    // Qt also delivers a press, and `press` counts clicks.
}

void ProsePage::press(QMouseEvent* event)
{
    if (!m_reader || m_words.empty())
        return event->ignore();
    forceActiveFocus(Qt::MouseFocusReason);
    setKeepMouseGrab(true); // Dragging marks; it does not scroll.
    m_goalX = -1;
    const QPointF place = event->position();
    const auto* hints = QGuiApplication::styleHints();
    const bool isAgain = event->timestamp() - m_lastPressTime < static_cast<ulong>(hints->mouseDoubleClickInterval())
        && (place - m_lastPressPlace).manhattanLength() < hints->startDragDistance();
    m_clicks = isAgain ? m_clicks + 1 : 1;
    m_lastPressTime = event->timestamp();
    m_lastPressPlace = place;

    const auto at = inText(place);
    const auto word = m_flow.wordAt(at.x(), at.y());
    if (!word)
        return;
    const auto pause = pauseUnder(place);
    if (event->button() == Qt::RightButton) {
        const int row = static_cast<int>(*word);
        if (pause) {
            const auto& about = m_pauses[*pause];
            emit menuWanted(place, -1, about.span.start, about.span.end, about.isCut());
            return;
        }
        if (row < m_reader->firstMarked() || row > m_reader->lastMarked())
            m_reader->place(row);
        emit menuWanted(place, row, 0, 0, m_reader->targetIsCut());
        return;
    }
    const auto time = timeUnder(place);
    if (time) {
        m_reader->place(static_cast<int>(*time));
        seekTo(*time);
        return;
    }
    m_press = Press{.place = place, .pause = pause};
    if (event->modifiers().testFlag(Qt::ShiftModifier)) {
        const auto caret = static_cast<std::size_t>(std::max(m_reader->caret(), 0));
        if (m_reader->markedCount() == 0)
            m_reader->markBetween({caret, caret}, {*word, *word + 1});
        else
            m_reader->extendTo({*word, *word + 1});
        m_press->anchor = {caret, caret};
        m_press->isDrag = true;
        m_press->pause.reset();
        return;
    }
    if (pause)
        return;
    m_press->unit = static_cast<Unit>(std::min((m_clicks - 1) % 4, 3));
    m_press->anchor = unitAt(*word, m_press->unit);
    if (m_press->unit == Unit::caret) {
        // Below the text, the caret goes after the last word.
        const bool isBehind = at.y() > m_flow.height();
        m_reader->place(isBehind ? static_cast<int>(m_words.size()) : static_cast<int>(*word));
        if (!isBehind)
            seekTo(*word);
    } else {
        m_reader->markBetween(m_press->anchor, m_press->anchor);
    }
}

void ProsePage::mouseMoveEvent(QMouseEvent* event)
{
    if (!m_press)
        return;
    const auto distance = (event->position() - m_press->place).manhattanLength();
    if (!m_press->isDrag && distance < QGuiApplication::styleHints()->startDragDistance())
        return;
    if (!m_press->isDrag) {
        m_press->isDrag = true;
        m_press->pause.reset();
        if (m_press->anchor.size() == 0) { // The drag began on a pause.
            const auto at = inText(m_press->place);
            const auto word = m_flow.wordAt(at.x(), at.y()).value_or(0);
            m_press->anchor = {word + 1, word + 1};
        }
    }
    m_press->place = event->position();
    const bool isBeyond = m_press->place.y() < 0 || m_press->place.y() > height();
    if (isBeyond && !m_scrolling.isActive())
        m_scrolling.start();
    else if (!isBeyond)
        m_scrolling.stop();
    drag(m_press->place);
}

void ProsePage::drag(QPointF place)
{
    const auto at = inText(place);
    const auto word = m_flow.wordAt(at.x(), at.y());
    if (!word)
        return;
    m_reader->markBetween(m_press->anchor, unitAt(*word, m_press->unit));
}

void ProsePage::mouseReleaseEvent(QMouseEvent*)
{
    setKeepMouseGrab(false);
    m_scrolling.stop();
    const auto press = std::exchange(m_press, std::nullopt);
    if (press && press->pause && *press->pause < m_pauses.size())
        togglePause(*press->pause);
}

void ProsePage::mouseUngrabEvent()
{
    m_scrolling.stop();
    m_press.reset();
}

void ProsePage::setHoveredPause(std::optional<std::size_t> pause)
{
    if (m_hoveredPause == pause)
        return;
    m_hoveredPause = pause;
    update();
}

void ProsePage::hoverMoveEvent(QHoverEvent* event)
{
    const auto pause = pauseUnder(event->position());
    setHoveredPause(pause);
    const auto at = inText(event->position());
    const auto* box = m_flow.boxUnder(at.x(), at.y());
    const bool isUnsureWord = box && box->kind == ProseFlow::Box::Kind::word && isUnsure(box->index);
    setUnsureRow(isUnsureWord ? static_cast<int>(box->index) : -1);
    setCursor(pause || timeUnder(event->position()) ? QCursor(Qt::PointingHandCursor)
            : at.x() > -4                           ? QCursor(Qt::IBeamCursor)
                                                    : QCursor(Qt::ArrowCursor));
}

void ProsePage::hoverLeaveEvent(QHoverEvent*)
{
    setUnsureRow(-1);
    setHoveredPause(std::nullopt);
}

void ProsePage::focusInEvent(QFocusEvent* event)
{
    QQuickPaintedItem::focusInEvent(event);
    if (m_reader && m_reader->caret() < 0 && event->reason() != Qt::MouseFocusReason && !m_words.empty())
        m_reader->place(std::max(m_reader->spokenRow(), 0));
    update();
}

void ProsePage::focusOutEvent(QFocusEvent* event)
{
    QQuickPaintedItem::focusOutEvent(event);
    update();
}

std::size_t ProsePage::caretWord() const
{
    return static_cast<std::size_t>(std::max(m_reader->caret(), 0));
}

std::optional<std::size_t> ProsePage::moved(int key, bool withControl) const
{
    const std::size_t caret = caretWord();
    const std::size_t count = m_words.size();
    const auto shownFrom = [&](std::size_t word) {
        while (word < count && !m_flow.isShown(word))
            ++word;
        return word;
    };
    const auto shownBefore = [&](std::size_t word) {
        while (word > 0 && !m_flow.isShown(word - 1))
            --word;
        return word > 0 ? word - 1 : shownFrom(0);
    };
    const auto rangeAt = [&](std::size_t word, bool vertical) {
        return unitAt(std::min(word, count - 1), vertical ? Unit::paragraph : Unit::sentence);
    };
    const bool isVertical = key == Qt::Key_Up || key == Qt::Key_Down;
    switch (key) {
    case Qt::Key_Left:
    case Qt::Key_Up:
        if (withControl) {
            const auto range = rangeAt(caret, isVertical);
            return range.first < caret || caret == 0 ? range.first : rangeAt(caret - 1, isVertical).first;
        }
        if (key == Qt::Key_Left)
            return shownBefore(caret);
        break;
    case Qt::Key_Right:
    case Qt::Key_Down:
        if (withControl)
            return caret < count ? rangeAt(caret, isVertical).end : count;
        if (key == Qt::Key_Right)
            return caret < count ? shownFrom(caret + 1) : count;
        break;
    case Qt::Key_Home:
    case Qt::Key_End: {
        if (withControl)
            return key == Qt::Key_Home ? 0 : count;
        const auto place = m_flow.caret(caret);
        const auto edge = m_flow.wordAt(key == Qt::Key_Home ? 0 : 1e9, place.top + 1);
        if (!edge)
            return std::nullopt;
        // The caret stands before words, so it can stand at the end of the last line only.
        return key == Qt::Key_End && *edge + 1 == count ? count : *edge;
    }
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
        break;
    default:
        return std::nullopt;
    }
    // Moves by lines or pages.
    const auto place = m_flow.caret(caret);
    const double lineHeight = m_flow.metrics().lineHeight;
    const bool isPage = key == Qt::Key_PageUp || key == Qt::Key_PageDown;
    const auto line = m_flow.lineAt(place.top + 1);
    if (!line)
        return std::nullopt;
    const bool isUp = key == Qt::Key_Up || key == Qt::Key_PageUp;
    double y = 0;
    if (isPage) {
        y = place.top + (isUp ? -1 : 1) * std::max(height() - 2 * lineHeight, lineHeight);
        if (y < 0)
            return 0;
    } else {
        if (isUp ? *line == 0 : *line + 1 == m_flow.lines().size())
            return isUp ? 0 : count;
        y = m_flow.lines()[isUp ? *line - 1 : *line + 1].top + 1;
    }
    return m_flow.wordAt(m_goalX, y);
}

void ProsePage::moveCaret(std::size_t word, bool extend)
{
    if (extend) {
        if (m_reader->caret() < 0)
            m_reader->place(0);
        m_reader->extendTo({word, word});
    } else {
        m_reader->place(static_cast<int>(word));
        if (m_reader->model() && !m_reader->model()->playing())
            seekTo(word);
    }
    tellCaret();
}

void ProsePage::tellCaret()
{
    emit caretMoved(m_flow.caret(caretWord()).top);
}

void ProsePage::keyPressEvent(QKeyEvent* event)
{
    if (!m_reader || m_words.empty())
        return event->ignore();
    const auto held = event->modifiers() & ~Qt::KeypadModifier;
    const bool shift = held.testFlag(Qt::ShiftModifier);
    const bool control = held.testFlag(Qt::ControlModifier);
    if (!held.testFlag(Qt::AltModifier) && !held.testFlag(Qt::MetaModifier)) {
        const bool isLines = !control
            && (event->key() == Qt::Key_Up || event->key() == Qt::Key_Down || event->key() == Qt::Key_PageUp
                || event->key() == Qt::Key_PageDown);
        if (!isLines)
            m_goalX = -1;
        else if (m_goalX < 0)
            m_goalX = m_flow.caret(caretWord()).x + 1;
        if (const auto word = moved(event->key(), control))
            return moveCaret(*word, shift);
    }
    if (event->matches(QKeySequence::SelectAll)) {
        m_reader->markBetween({0, m_words.size()}, {0, m_words.size()});
        return;
    }
    switch (Commands::find(Commands::Scope::Text, event->keyCombination()).value_or(Commands::None)) {
    case Commands::CopyWords:
        m_reader->copy();
        return;
    case Commands::ToggleWords:
        m_reader->toggleTarget();
        return;
    case Commands::CorrectWord:
        if (m_reader->firstTarget() >= 0)
            emit editWanted(m_reader->firstTarget());
        return;
    case Commands::UnmarkWords:
        if (m_reader->markedCount() > 0) {
            m_reader->unmark();
            return;
        }
        break;
    default:
        break;
    }
    event->ignore();
}

} // namespace orvo
