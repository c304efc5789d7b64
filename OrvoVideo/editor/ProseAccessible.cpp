#include "OrvoVideo/editor/ProseAccessible.h"

#include "OrvoVideo/editor/ProsePage.h"
#include "VideoCore/Suggestions.h"

#include <QQuickWindow>
#include <algorithm>

namespace orvo {

namespace {

QAccessibleInterface* make(const QString& className, QObject* object)
{
    auto* page = className == QLatin1String("orvo::ProsePage") ? qobject_cast<ProsePage*>(object) : nullptr;
    return page ? std::make_unique<ProseAccessible>(*page).release() : nullptr; // Qt takes ownership.
}

} // namespace

ProseAccessible::ProseAccessible(ProsePage& page)
    : QAccessibleObject(&page)
{
}

void ProseAccessible::install()
{
    static const bool isInstalled = [] {
        QAccessible::installFactory(make);
        return true;
    }();
    static_cast<void>(isInstalled);
}

void ProseAccessible::tellCaret(ProsePage& page)
{
    if (!QAccessible::isActive() || !page.reader())
        return;
    QAccessibleTextCursorEvent caret(&page, page.textPlace(static_cast<std::size_t>(std::max(page.reader()->caret(), 0))));
    QAccessible::updateAccessibility(&caret);
    const int first = page.reader()->firstMarked();
    const int start = first < 0 ? caret.cursorPosition() : page.textPlace(static_cast<std::size_t>(first));
    const auto last = static_cast<std::size_t>(std::max(page.reader()->lastMarked(), 0));
    const int end =
        first < 0 ? start : page.textPlace(last) + static_cast<int>(page.wordText(static_cast<int>(last)).size());
    QAccessibleTextSelectionEvent selection(&page, start, end);
    selection.setCursorPosition(caret.cursorPosition());
    QAccessible::updateAccessibility(&selection);
}

void ProseAccessible::tellText(ProsePage& page)
{
    if (!QAccessible::isActive())
        return;
    QAccessibleEvent event(&page, QAccessible::VisibleDataChanged);
    QAccessible::updateAccessibility(&event);
}

ProsePage& ProseAccessible::page() const
{
    return *static_cast<ProsePage*>(object());
}

QAccessibleInterface* ProseAccessible::parent() const
{
    for (auto* item = page().parentItem(); item; item = item->parentItem()) {
        auto* interface = QAccessible::queryAccessibleInterface(item);
        if (interface && interface->indexOfChild(this) >= 0)
            return interface;
    }
    return QAccessible::queryAccessibleInterface(page().window());
}

QAccessibleInterface* ProseAccessible::child(int) const
{
    return nullptr;
}

int ProseAccessible::childCount() const
{
    return 0;
}

int ProseAccessible::indexOfChild(const QAccessibleInterface*) const
{
    return -1;
}

QRect ProseAccessible::rect() const
{
    const auto* shown = page().window();
    if (!shown)
        return {};
    return {shown->mapToGlobal(page().mapToScene({}).toPoint()), QSize(int(page().width()), int(page().height()))};
}

QString ProseAccessible::text(QAccessible::Text kind) const
{
    switch (kind) {
    case QAccessible::Name:
        return QStringLiteral("Transcripción");
    case QAccessible::Value:
        return page().wholeText();
    default:
        return {};
    }
}

QAccessible::Role ProseAccessible::role() const
{
    return QAccessible::EditableText;
}

QAccessible::State ProseAccessible::state() const
{
    QAccessible::State state;
    state.focusable = true;
    state.focused = page().hasActiveFocus();
    state.invisible = !page().isVisible();
    state.disabled = !page().isEnabled();
    state.multiLine = true;
    state.readOnly = true; // Words are edited in a separate field.
    state.selectableText = true;
    return state;
}

QWindow* ProseAccessible::window() const
{
    return page().window();
}

void* ProseAccessible::interface_cast(QAccessible::InterfaceType type)
{
    return type == QAccessible::TextInterface ? static_cast<QAccessibleTextInterface*>(this) : nullptr;
}

int ProseAccessible::selectionCount() const
{
    return page().reader() && page().reader()->markedCount() > 0 ? 1 : 0;
}

void ProseAccessible::selection(int index, int* start, int* end) const
{
    *start = *end = 0;
    if (index != 0 || selectionCount() == 0)
        return;
    const int last = page().reader()->lastMarked();
    *start = page().textPlace(static_cast<std::size_t>(page().reader()->firstMarked()));
    *end = page().textPlace(static_cast<std::size_t>(last)) + static_cast<int>(page().wordText(last).size());
}

void ProseAccessible::addSelection(int start, int end)
{
    setSelection(0, start, end);
}

void ProseAccessible::removeSelection(int)
{
    if (page().reader())
        page().reader()->unmark();
}

void ProseAccessible::setSelection(int index, int start, int end)
{
    if (index != 0 || !page().reader())
        return;
    if (start >= end)
        return page().reader()->unmark();
    const auto first = page().wordOfPlace(start);
    page().reader()->markBetween({first, first}, {first, page().wordOfPlace(end - 1) + 1});
}

int ProseAccessible::cursorPosition() const
{
    return page().reader() ? page().textPlace(static_cast<std::size_t>(std::max(page().reader()->caret(), 0))) : 0;
}

void ProseAccessible::setCursorPosition(int place)
{
    if (!page().reader())
        return;
    const bool isEnd = place >= characterCount();
    page().reader()->place(
        isEnd ? static_cast<int>(page().reader()->words().size()) : static_cast<int>(page().wordOfPlace(place)));
}

QString ProseAccessible::text(int start, int end) const
{
    return page().wholeText().mid(start, end - start);
}

int ProseAccessible::characterCount() const
{
    return static_cast<int>(page().wholeText().size());
}

QRect ProseAccessible::characterRect(int place) const
{
    const auto* shown = page().window();
    const auto word = page().wordOfPlace(place);
    const auto area = page().rectOf(static_cast<int>(word));
    if (!shown || area.isEmpty())
        return {};
    // The page knows the positions of words only; this assumes letters of equal width.
    const auto length = std::max<qsizetype>(page().wordText(static_cast<int>(word)).size(), 1);
    const double wide = area.width() / static_cast<double>(length);
    const QPointF corner(area.x() + wide * (place - page().textPlace(word)), area.y());
    return {shown->mapToGlobal(page().mapToScene(corner).toPoint()), QSize(std::max(1, int(wide)), int(area.height()))};
}

int ProseAccessible::offsetAtPoint(const QPoint& point) const
{
    const auto* shown = page().window();
    if (!shown)
        return -1;
    const auto place = page().mapFromScene(shown->mapFromGlobal(point));
    const auto word = page().flow().wordAt(place.x() - ProsePage::margin, place.y() + page().offset());
    return word && page().contains(place) ? page().textPlace(*word) : -1;
}

void ProseAccessible::scrollToSubstring(int start, int)
{
    emit page().caretMoved(page().topOf(static_cast<int>(page().wordOfPlace(start))));
}

QString ProseAccessible::attributes(int place, int* start, int* end) const
{
    const auto word = page().wordOfPlace(place);
    *start = page().textPlace(word);
    *end = std::max(page().textPlace(word + 1), *start);
    const auto* cursor = page().reader();
    if (!cursor || word >= cursor->words().size())
        return {};
    const auto& spoken = cursor->words()[word];
    QString attributes;
    if (Transcript::isCut(spoken, cursor->cuts(), cursor->duration()))
        attributes += QStringLiteral("text-line-through-type:single;");
    if (Suggestions::isFiller(spoken.text))
        attributes += QStringLiteral("text-underline-type:single;");
    if (page().isUnsure(word))
        attributes += QStringLiteral("invalid:spelling;"); // Screen readers announce it like a spelling error.
    return attributes;
}

} // namespace orvo
