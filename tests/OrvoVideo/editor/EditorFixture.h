#pragma once

#include "../ModelFixture.h"

#include <QAccessible>
#include <QQuickItem>
#include <QQuickView>

namespace orvo {
class TimelineItem;
}

namespace orvo::test {

/// The editor in a window, over a model on a library of its own.
class EditorFixture : public ModelFixture {
protected:
    /// Opens this project and shows the editor.
    void show(VideoProject project);

    /// A project whose movie has no sound; nobody looks at it.
    static VideoProject silent(double duration = 10);

    /// A project of six seconds with a small real movie with sound, a microphone and four words.
    VideoProject lesson();

    void TearDown() override;

    /// The item with this object name; a failed test when there is none.
    QQuickItem* item(const QString& name) const;
    TimelineItem& timeline() const;

    /// The visible item with this accessible role and name and, where given, this text; null when there is none.
    QQuickItem* control(QAccessible::Role role, const QString& name, const QString& text = {}) const;
    /// Clicks what `control` finds.
    void click(QAccessible::Role role, const QString& name);

    /// The place in the window of a time in a row of the timeline.
    QPoint place(double seconds, double y) const;
    QPoint centre(const QQuickItem* item) const;

    void press(QPoint at, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    void move(QPoint to, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    void release(QPoint at, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    /// From one place to the other in several steps.
    void drag(QPoint from, QPoint to, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    void key(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    void type(const QString& text);

    std::unique_ptr<QQuickView> view;
};

} // namespace orvo::test
