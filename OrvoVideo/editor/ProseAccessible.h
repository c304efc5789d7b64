#pragma once

#include <QAccessibleObject>

namespace orvo {

class ProsePage;

/// The transcript's page as assistive technology sees it: a text of several lines with a caret and a selection. What is said
/// of a word besides its text are attributes: "text-line-through-type" for what is cut, "text-underline-type" for fillers,
/// "invalid" for those of which the recogniser was unsure.
class ProseAccessible final : public QAccessibleObject, public QAccessibleTextInterface {
public:
    explicit ProseAccessible(ProsePage& page);

    /// Has Qt make one for every page. Any number of times.
    static void install();
    /// Tells assistive technology that caret or selection have moved, or that the text is another.
    static void tellCaret(ProsePage& page);
    static void tellText(ProsePage& page);

    QAccessibleInterface* parent() const override;
    QAccessibleInterface* child(int index) const override;
    int childCount() const override;
    int indexOfChild(const QAccessibleInterface* child) const override;
    QRect rect() const override;
    QString text(QAccessible::Text kind) const override;
    QAccessible::Role role() const override;
    QAccessible::State state() const override;
    QWindow* window() const override;
    void* interface_cast(QAccessible::InterfaceType type) override;

    void selection(int index, int* start, int* end) const override;
    int selectionCount() const override;
    void addSelection(int start, int end) override;
    void removeSelection(int index) override;
    void setSelection(int index, int start, int end) override;
    int cursorPosition() const override;
    void setCursorPosition(int place) override;
    QString text(int start, int end) const override;
    int characterCount() const override;
    QRect characterRect(int place) const override;
    int offsetAtPoint(const QPoint& point) const override;
    void scrollToSubstring(int start, int end) override;
    QString attributes(int place, int* start, int* end) const override;

private:
    ProsePage& page() const;
};

} // namespace orvo
