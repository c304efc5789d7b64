#pragma once

#include <QAccessibleObject>

namespace orvo {

class ProsePage;

/// Exposes the transcript page to assistive technology as a multi-line text with a caret and a selection. Words carry text
/// attributes: "text-line-through-type" if cut, "text-underline-type" for fillers, "invalid" if the recogniser was unsure.
class ProseAccessible final : public QAccessibleObject, public QAccessibleTextInterface {
public:
    explicit ProseAccessible(ProsePage& page);

    /// Registers the factory with Qt. Repeated calls have no effect.
    static void install();
    /// Notifies assistive technology that the caret or the selection moved, or that the text changed.
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
